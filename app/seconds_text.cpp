// SPDX-License-Identifier: MIT
#include "app/seconds_text.h"

#include <array>
#include <cstdio>

namespace app {

std::string SecondsText(double seconds) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.3f s", seconds);
  return text.data();
}

}  // namespace app
