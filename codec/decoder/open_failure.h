// SPDX-License-Identifier: MIT
// Why an input could not be opened.
#pragma once

#include <string>

namespace codec {

struct OpenFailure {
  int error = 0;  // FFmpeg's negative number; 0 if the input was opened
  // What stands there that is no file to read back and forth: "a directory"; null if this is not
  // the reason. Static text.
  const char* kind = nullptr;
  // Where the clock of the input restarts, or that the codec of its video is unknown, and what
  // would work; empty if this is not the reason.
  std::string obstacle = {};
};

}  // namespace codec
