// SPDX-License-Identifier: MIT
// Where the planes of a packed 4:2:0 picture begin.
#pragma once

#include <cstddef>

namespace codec {

inline size_t LumaBytes(int width, int height) {
  return static_cast<size_t>(width) * static_cast<size_t>(height);
}

// Pointers and row lengths, in samples, of a picture whose planes follow one another. Halves and
// quarters are rounded down.
template <typename Sample>
struct PackedPlanes {
  PackedPlanes(Sample* picture, int width, int height)
      : y(picture),
        u(y + LumaBytes(width, height)),
        v(u + LumaBytes(width, height) / 4),
        strideY(width),
        strideUv(width >> 1) {}

  Sample* y;
  Sample* u;
  Sample* v;
  int strideY;
  int strideUv;
};

}  // namespace codec
