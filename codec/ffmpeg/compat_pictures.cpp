// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/compat_pictures.h"

#include "codec/ffmpeg/releases.h"

namespace codec::ffmpeg {

int LayOutPicture(uint8_t** planes, int* strides, const uint8_t* picture, AVPixelFormat format,
                  int width, int height, int alignment) {
  const int size = av_image_fill_arrays(planes, strides, picture, format, width, height, alignment);
#if HAS_MADE_UP_PALETTES
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  if (size >= 0 && (description->flags & AV_PIX_FMT_FLAG_PSEUDOPAL) != 0) {
    planes[1] = nullptr;
    return av_image_get_buffer_size(format, width, height, alignment);
  }
#endif
  return size;
}

}  // namespace codec::ffmpeg
