// SPDX-License-Identifier: MIT
// The inputs that fuzzing starts from.
#pragma once

#include <string>
#include <vector>

namespace fuzz {

// A few small inputs for the target of this name, made anew; at most 8 KB each.
std::vector<std::string> Seeds(const std::string& target);

}  // namespace fuzz
