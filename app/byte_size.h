// SPDX-License-Identifier: MIT
// Sizes as people write them.
#pragma once

#include <cstdint>
#include <string>

namespace app {

// Bytes that a text stands for: a decimal number above 0, which may have a fraction, and a unit
// that may follow it: K, M, G or T, each 1024 times the one before, in either case, alone or
// followed by "B" or "iB". -1 for any other text, and where the size is above what 63 bits hold.
int64_t ParseByteSize(const std::string& text);

}  // namespace app
