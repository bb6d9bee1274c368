// SPDX-License-Identifier: MIT
// The sizes of the pictures that enter and leave a writer.
#pragma once

#include "codec/format/media_format.h"

namespace codec {

struct PictureSize {
  int width = 0;
  int height = 0;

  friend bool operator==(const PictureSize& a, const PictureSize& b) {
    return a.width == b.width && a.height == b.height;
  }
};

// Read from "width", "height", "target-width", "target-height", "rotation" and "orientation", in
// pixels.
class PictureSizes {
 public:
  explicit PictureSizes(const MediaFormat& format);

  // Whether a target side is set that differs from the source.
  bool Scaled() const { return !(mEachTarget == mSource); }
  PictureSize Source() const { return mSource; }
  // The size before any turn: the target where both of its sides are set, else the source.
  PictureSize Unturned() const { return mWholeTarget ? mEachTarget : mSource; }
  // The size after the turn; sides exchanged at 90 and 270 degrees.
  PictureSize Turned() const;
  // The size of the file's pictures, which are oriented last.
  PictureSize Output() const;

 private:
  PictureSize mSource;
  PictureSize mEachTarget;  // a side that is not set is the source's
  bool mWholeTarget = false;
  int mRotation = 0;
  int mOrientation = 1;
};

}  // namespace codec
