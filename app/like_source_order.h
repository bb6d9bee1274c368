// SPDX-License-Identifier: MIT
// What --like-source stands for.
#pragma once

#include "app/order.h"

namespace app {

// The order with the keys in place of --like-source that encode the output as the input is. Keys
// that were given count more: a codec leaves out what is meant for the source's, a quality the
// quality. A line is logged for each codec that is not
// encoded because there is no encoder for it. As it is without --like-source,
// and, after a warning, without the mirror.
Order WithSourceKeys(Order order);

}  // namespace app
