// SPDX-License-Identifier: MIT
// How large a file is, and how large its container says that it is.
#pragma once

#include <cstdint>

namespace codec {

struct FileExtent {
  int64_t told = 0;  // bytes that it should have; 0 if nothing is known to be missing
  int64_t held = 0;  // bytes of the file

  // Bytes that the file lacks.
  int64_t Missing() const { return told > held ? told - held : 0; }
};

}  // namespace codec
