// SPDX-License-Identifier: MIT
// The small integers under which the scale, rotate and watermark filters know pixel formats.
#pragma once

#include <cstdint>

namespace codec {

enum ColorType : int32_t {
  kRgbaType = 1,
  kBgraType = 3,
  kYuv420pType = 5,
};

// 2 and 4 are treated like 1 and 3 where only the size of a pixel matters.
constexpr bool IsFourByteType(int32_t type) { return type >= 1 && type <= 4; }

// Bytes of a packed picture of this type; 0 for an unknown type.
constexpr int64_t PictureBytes(int32_t type, int64_t width, int64_t height) {
  if (IsFourByteType(type)) return width * height * 4;
  return type == kYuv420pType ? width * height * 12 / 8 : 0;
}

}  // namespace codec
