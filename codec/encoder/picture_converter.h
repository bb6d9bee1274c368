// SPDX-License-Identifier: MIT
// Brings packed pictures into the frames of an encoder.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/owned.h"

namespace codec {

// How the numbers of a picture are to be understood.
struct PictureForm {
  AVPixelFormat format = AV_PIX_FMT_NONE;
  bool isFullRange = false;
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;  // between RGB and YUV; BT.601 if not known
};

// Copies or converts a picture into a frame that the encoder may keep for as long as it likes. The
// frames' bytes come from a pool, so that a run takes no more memory than the encoder holds frames.
class PictureConverter {
 public:
  // Size in pixels. 0, or AVERROR if memory or a conversion does not serve.
  int Open(const PictureForm& from, const PictureForm& to, int width, int height);
  // Gives `frame`, which must be blank, the picture: planes one after another, rows without
  // padding. Sets its bytes, format and size. 0 or a negative error.
  int Convert(const uint8_t* picture, AVFrame* frame);

 private:
  int OpenScaler(const PictureForm& from, const PictureForm& to);
  int TakeFrame(AVFrame* frame);

  AVPixelFormat mFrom = AV_PIX_FMT_NONE;
  AVPixelFormat mTo = AV_PIX_FMT_NONE;
  int mWidth = 0;
  int mHeight = 0;
  ffmpeg::UniqueScaler mScaler;  // null if pictures are only copied
  ffmpeg::UniqueBufferPool mPool;
};

}  // namespace codec
