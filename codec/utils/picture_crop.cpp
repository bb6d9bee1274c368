// SPDX-License-Identifier: MIT
#include "codec/utils/picture_crop.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "codec/ffmpeg/compat_pictures.h"

namespace codec {
namespace {

struct Layout {
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  int bytes = 0;

  Layout(AVPixelFormat format, const uint8_t* picture, int width, int height)
      : bytes(ffmpeg::LayOutPicture(planes.data(), strides.data(), picture, format, width, height,
                                    1)) {}
};

// Rows of a plane; the second and third one are those of chroma.
int RowsOf(const AVPixFmtDescriptor& format, int plane, int height) {
  const bool isChroma = plane == 1 || plane == 2;
  return isChroma ? AV_CEIL_RSHIFT(height, format.log2_chroma_h) : height;
}

}  // namespace

int CropPicture(AVPixelFormat format, const uint8_t* source, int width, int height, uint8_t* target,
                int toWidth, int toHeight) {
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  if (description == nullptr || toWidth < 1 || toHeight < 1 || toWidth > width ||
      toHeight > height) {
    return AVERROR(EINVAL);
  }
  const Layout from(format, source, width, height);
  const Layout to(format, target, toWidth, toHeight);
  if (from.bytes < 0 || to.bytes < 0) return AVERROR(EINVAL);
  const bool hasPalette = (description->flags & AV_PIX_FMT_FLAG_PAL) != 0;
  // Some releases make room for a palette that belongs to grey pictures, too.
  const int planes = av_pix_fmt_count_planes(format) + (hasPalette ? 1 : 0);
  // No row of the part lies after its place in the picture, so that upward moves do no harm where
  // the two share their memory.
  for (int plane = 0; plane < planes; ++plane) {
    const auto index = static_cast<size_t>(plane);
    if (hasPalette && plane == 1) {
      std::memmove(to.planes[index], from.planes[index], AVPALETTE_SIZE);
      break;
    }
    const auto bytes = static_cast<size_t>(to.strides[index]);
    for (int row = 0; row < RowsOf(*description, plane, toHeight); ++row) {
      std::memmove(to.planes[index] + std::ptrdiff_t{row} * to.strides[index],
                   from.planes[index] + std::ptrdiff_t{row} * from.strides[index], bytes);
    }
  }
  return av_image_get_buffer_size(format, toWidth, toHeight, 1);
}

}  // namespace codec
