// SPDX-License-Identifier: MIT
// The options of a job, by their keys.
#pragma once

#include <string>

#include "app/order.h"

namespace capi {

// Puts the value of one option into the order. Empty, or one sentence on why the order stays as it
// is.
std::string SetOption(const std::string& key, const std::string& value, app::Order* order);

}  // namespace capi
