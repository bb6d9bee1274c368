// SPDX-License-Identifier: MIT
// What becomes of the fields of interlaced pictures on their way through the filters.
#pragma once

#include "codec/format/media_format.h"

namespace codec {

// Makes "field-order", which is that of the pictures that come in, the one of those that go out, by
// the other keys of the format. Filters that mix or turn rows leave no fields; a warning tells. On
// their heads, the fields come in the opposite order.
void SettleFieldOrder(MediaFormat* format);

}  // namespace codec
