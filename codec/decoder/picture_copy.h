// SPDX-License-Identifier: MIT
// Copies decoded pictures into packed buffers.
#pragma once

#include <cstdint>

#include "codec/decoder/drop_warning.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Packed: planes one after another, rows as long as the picture is wide.
class PictureCopy {
 public:
  // Takes the pictures' form. 0, or -1 if no packed buffer can hold such a picture.
  int Open(AVPixelFormat format, int width, int height);
  // The same, and pictures of odd width or height lose their last column or row.
  int OpenEven(AVPixelFormat format, int width, int height);

  // Pictures with transparency are laid over black. Off unless called.
  void LayOverBlack() { mOverBlack = true; }

  // Pictures of another size or format are scaled and converted instead of dropped. One warning
  // tells of all of them. Off unless called.
  void AdaptChanges() { mAdapts = true; }

  // Pixels of a packed picture.
  int Width() const { return mWidth; }
  int Height() const { return mHeight; }

  // Bytes of a packed picture; 0 if not opened.
  int Size() const { return mSize; }

  // Copies into a buffer of Size() bytes and returns Size(). A picture of another size or format
  // would not fit: unless it is adapted, it is dropped with a warning and 0 is returned.
  int Copy(const AVFrame* frame, uint8_t* buffer);

 private:
  int Pack(const AVFrame* frame, uint8_t* buffer) const;
  const AVFrame* Adapted(const AVFrame* frame);

  AVPixelFormat mFormat = AV_PIX_FMT_NONE;
  int mWidth = 0;
  int mHeight = 0;
  int mSourceWidth = 0;
  int mSourceHeight = 0;
  int mSize = 0;
  bool mOverBlack = false;
  bool mAdapts = false;
  bool mHasWarned = false;
  ffmpeg::UniqueScaler mScaler;
  ffmpeg::UniqueFrame mAdapted;
  DropWarning mDrops;
};

}  // namespace codec
