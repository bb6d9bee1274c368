// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_copy.h"

#include <array>
#include <string>

#include "codec/decoder/stream_facts.h"
#include "codec/ffmpeg/compat_pictures.h"
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
  const AVFrame* const source = fits || !mAdapts ? frame : Adapted(frame);
  const bool isPacked = (fits || mAdapts) && source != nullptr && Pack(source, buffer) == mSize;
  if (!isPacked || mSize == 0) {
    mDrops.Dropped("picture is " + Described(frame->format, frame->width, frame->height) +
                   " instead of " + Described(mFormat, mSourceWidth, mSourceHeight));
    return 0;
  }
  mDrops.Delivered();
  if (mOverBlack) {
    BlendOverBlack(mFormat, frame->color_range == AVCOL_RANGE_JPEG, mWidth, mHeight, buffer);
  }
  return mSize;
}

int PictureCopy::Pack(const AVFrame* frame, uint8_t* buffer) const {
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  const int size = ffmpeg::LayOutPicture(planes.data(), strides.data(), buffer, mFormat, mWidth,
                                         mHeight, kPacked);
  if (size != mSize) return -1;
  // Older releases take the source planes without the inner const.
  av_image_copy(planes.data(), strides.data(), const_cast<const uint8_t**>(frame->data),
                frame->linesize, mFormat, mWidth, mHeight);
  return size;
}

// The scaler writes whole vectors, for which packed buffers have no room: so into a frame. Null
// where memory or a format does not serve.
const AVFrame* PictureCopy::Adapted(const AVFrame* frame) {
  const auto from = static_cast<AVPixelFormat>(frame->format);
  if (mSize == 0 || frame->width < 1 || frame->height < 1) return nullptr;
  if (mAdapted == nullptr) mAdapted = ffmpeg::NewPicture(mFormat, mWidth, mHeight);
  if (mAdapted == nullptr) return nullptr;
  mScaler.reset(sws_getCachedContext(
      mScaler.release(), frame->width, frame->height, FoldedPixelFormat(from), mWidth, mHeight,
      FoldedPixelFormat(mFormat), SWS_BICUBIC, nullptr, nullptr, nullptr));
  if (mScaler == nullptr) return nullptr;
  const int* const usual = sws_getCoefficients(SWS_CS_DEFAULT);
  constexpr int kOne = 1 << 16;
  sws_setColorspaceDetails(mScaler.get(), usual, FoldedPixelFormat(from) != from ? 1 : 0, usual,
                           FoldedPixelFormat(mFormat) != mFormat ? 1 : 0, 0, kOne, kOne);
  if (sws_scale(mScaler.get(), frame->data, frame->linesize, 0, frame->height, mAdapted->data,
                mAdapted->linesize) < 0) {
    return nullptr;
  }
  if (!mHasWarned) {
    log_warn(kDecoderTag, "picture is %s instead of %s, such pictures are scaled",
             Described(frame->format, frame->width, frame->height).c_str(),
             Described(mFormat, mSourceWidth, mSourceHeight).c_str());
  }
  mHasWarned = true;
  return mAdapted.get();
}

}  // namespace codec
