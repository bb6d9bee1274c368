// SPDX-License-Identifier: MIT
#include "codec/encoder/picture_converter.h"

#include <array>
#include <cerrno>

#include "codec/ffmpeg/compat_pictures.h"

namespace codec {
namespace {

// Lines begin where vectors want them, and encoders that look beyond the last line find memory.
constexpr int kAlignment = 64;
constexpr int kLines = 32;
constexpr int kSlack = 64;

int RoundedHeight(int height) { return (height + kLines - 1) / kLines * kLines; }

const int* Coefficients(AVColorSpace matrix) {
  // swscale numbers matrices as FFmpeg does.
  return sws_getCoefficients(matrix == AVCOL_SPC_UNSPECIFIED || matrix == AVCOL_SPC_RGB
                                 ? SWS_CS_DEFAULT
                                 : static_cast<int>(matrix));
}

}  // namespace

int PictureConverter::Open(const PictureForm& from, const PictureForm& to, int width, int height) {
  mFrom = from.format;
  mTo = to.format;
  mWidth = width;
  mHeight = height;
  const int size = av_image_get_buffer_size(mTo, width, RoundedHeight(height), kAlignment);
  if (size < 0) return size;
  mPool.reset(av_buffer_pool_init(size + kSlack, nullptr));
  if (mPool == nullptr) return AVERROR(ENOMEM);
  const bool isCopied = from.format == to.format && from.isFullRange == to.isFullRange;
  return isCopied ? 0 : OpenScaler(from, to);
}

int PictureConverter::OpenScaler(const PictureForm& from, const PictureForm& to) {
  // The same bytes on every processor.
  constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_BITEXACT;
  constexpr int kOne = 1 << 16;
  mScaler.reset(sws_getContext(mWidth, mHeight, mFrom, mWidth, mHeight, mTo, kFlags, nullptr,
                               nullptr, nullptr));
  if (mScaler == nullptr) return AVERROR(EINVAL);
  // Some conversions have no coefficients to set, and refuse.
  sws_setColorspaceDetails(mScaler.get(), Coefficients(from.matrix), from.isFullRange ? 1 : 0,
                           Coefficients(to.matrix), to.isFullRange ? 1 : 0, 0, kOne, kOne);
  return 0;
}

int PictureConverter::TakeFrame(AVFrame* frame) {
  frame->buf[0] = av_buffer_pool_get(mPool.get());
  if (frame->buf[0] == nullptr) return AVERROR(ENOMEM);
  frame->format = mTo;
  frame->width = mWidth;
  frame->height = mHeight;
  const int filled = ffmpeg::LayOutPicture(frame->data, frame->linesize, frame->buf[0]->data, mTo,
                                           mWidth, RoundedHeight(mHeight), kAlignment);
  return filled < 0 ? filled : 0;
}

int PictureConverter::Convert(const uint8_t* picture, AVFrame* frame) {
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  const int filled =
      ffmpeg::LayOutPicture(planes.data(), strides.data(), picture, mFrom, mWidth, mHeight, 1);
  if (filled < 0) return filled;
  const int taken = TakeFrame(frame);
  if (taken < 0) return taken;
  // Older releases take the source planes without the inner const.
  const auto** const source = const_cast<const uint8_t**>(planes.data());
  if (mScaler == nullptr) {
    av_image_copy(frame->data, frame->linesize, source, strides.data(), mTo, mWidth, mHeight);
    return 0;
  }
  const int lines =
      sws_scale(mScaler.get(), source, strides.data(), 0, mHeight, frame->data, frame->linesize);
  return lines < 0 ? lines : 0;
}

}  // namespace codec
