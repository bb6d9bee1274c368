#include "codec/decoder/picture_copy.h"

#include <array>
#include <string>

#include "codec/decoder/stream_facts.h"
#include "codec/utils/over_black.h"
#include "codec/utils/picture_crop.h"

namespace codec {
namespace {

constexpr int kPacked = 1;  // line alignment

std::string Described(int format, int width, int height) {
  const char* const name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(format));
  return std::to_string(width) + "x" + std::to_string(height) + " " +
         (name == nullptr ? "?" : name);
}

}  // namespace

int PictureCopy::Open(AVPixelFormat format, int width, int height) {
  const int size = av_image_get_buffer_size(format, width, height, kPacked);
  if (size <= 0) return -1;
  mFormat = format;
  mWidth = width;
  mHeight = height;
  mSourceWidth = width;
  mSourceHeight = height;
  mSize = size;
  return 0;
}

int PictureCopy::OpenEven(AVPixelFormat format, int width, int height) {
  if (width < 2 || height < 2 || Open(format, EvenSide(width), EvenSide(height)) != 0) {
    return Open(format, width, height);
  }
  mSourceWidth = width;
  mSourceHeight = height;
  return 0;
}

int PictureCopy::Copy(const AVFrame* frame, uint8_t* buffer) {
  // Full range or not, the planes are laid out alike.
  const bool fits =
      mSize > 0 && frame->width == mSourceWidth && frame->height == mSourceHeight &&
      FoldedPixelFormat(static_cast<AVPixelFormat>(frame->format)) == FoldedPixelFormat(mFormat);
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  if (!fits || av_image_fill_arrays(planes.data(), strides.data(), buffer, mFormat, mWidth, mHeight,
                                    kPacked) != mSize) {
    mDrops.Dropped("picture is " + Described(frame->format, frame->width, frame->height) +
                   " instead of " + Described(mFormat, mSourceWidth, mSourceHeight));
    return 0;
  }
  mDrops.Delivered();
  // Older releases take the source planes without the inner const.
  av_image_copy(planes.data(), strides.data(), const_cast<const uint8_t**>(frame->data),
                frame->linesize, mFormat, mWidth, mHeight);
  if (mOverBlack) {
    BlendOverBlack(mFormat, frame->color_range == AVCOL_RANGE_JPEG, mWidth, mHeight, buffer);
  }
  return mSize;
}

}  // namespace codec
