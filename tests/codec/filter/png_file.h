// SPDX-License-Identifier: MIT
// Writes PNG files for tests.
#pragma once

#include <gtest/gtest.h>
#include <png.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/command.h"

namespace codec::testing {

struct PngKind {
  int colorType;
  int bitDepth;
  bool interlaced;
};

// Rows are `bytes` in file order, packed.
inline std::string WritePng(const std::string& name, int width, int height, PngKind kind,
                            const std::vector<uint8_t>& bytes) {
  const std::string path = test_support::ScratchPath(name);
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
               kind.bitDepth, kind.colorType, kind.interlaced ? PNG_INTERLACE_ADAM7 : 0, 0, 0);
  const png_color palette[2] = {{1, 2, 3}, {4, 5, 6}};
  if (kind.colorType == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette, 2);
  png_write_info(png, info);
  const size_t stride = png_get_rowbytes(png, info);
  EXPECT_GE(bytes.size(), stride * static_cast<size_t>(height));
  const int passes = png_set_interlace_handling(png);
  for (int pass = 0; pass < passes; ++pass) {
    for (int y = 0; y < height; ++y) png_write_row(png, &bytes[static_cast<size_t>(y) * stride]);
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  std::fclose(file);
  return path;
}

inline std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline std::string WriteFile(const std::string& name, const std::vector<uint8_t>& bytes) {
  const std::string path = test_support::ScratchPath(name);
  std::ofstream out(path, std::ios::binary);
  for (const uint8_t byte : bytes) out.put(static_cast<char>(byte));
  return path;
}

}  // namespace codec::testing
