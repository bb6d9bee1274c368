// SPDX-License-Identifier: MIT
// What a mistyped word was probably meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace app {

// The candidate that a person is likely to have meant: the one with the fewest letters wrong, left
// out, added or swapped with their neighbour, in either case. Dashes at the front do not count. A
// part at the beginning of a candidate is near, too. Empty if none is near: a third of the letters
// may differ.
std::string Nearest(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace app
