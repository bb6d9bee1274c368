// SPDX-License-Identifier: MIT
// Number conversions that are defined for every input, because rates and sizes come from outside.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace codec {

// The leading decimal number of a text as `atoi` reads it; 0 when there is none. Numbers that do
// not fit become the nearest one that does.
inline int ParseInt(const char* text) {
  const long number = std::strtol(text, nullptr, 10);
  if (number > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  if (number < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  return static_cast<int>(number);
}

// Truncates toward zero. NaN becomes 0; what does not fit becomes the nearest number that does.
inline int TruncateToInt(double number) {
  if (std::isnan(number)) return 0;
  if (number >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  if (number <= std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  return static_cast<int>(number);
}

// The same for 64 bits, within +-2^62: a few can be added to any result without overflow.
inline int64_t TruncateToInt64(double number) {
  constexpr int64_t kLimit = int64_t{1} << 62;
  if (std::isnan(number)) return 0;
  if (number >= static_cast<double>(kLimit)) return kLimit;
  if (number <= -static_cast<double>(kLimit)) return -kLimit;
  return static_cast<int64_t>(number);
}

}  // namespace codec
