// SPDX-License-Identifier: MIT
#include "codec/writer/picture_sizes.h"

#include "codec/utils/orientation.h"

namespace codec {

PictureSizes::PictureSizes(const MediaFormat& format) {
  format.GetInt32("width", mSource.width);
  format.GetInt32("height", mSource.height);
  mEachTarget = mSource;
  const bool hasWidth = format.GetInt32("target-width", mEachTarget.width) == 0;
  const bool hasHeight = format.GetInt32("target-height", mEachTarget.height) == 0;
  mWholeTarget = hasWidth && hasHeight;
  format.GetInt32("rotation", mRotation);
  format.GetInt32("orientation", mOrientation);
}

PictureSize PictureSizes::Turned() const {
  const PictureSize size = Unturned();
  // Also where no filter turns the picture: at equal sizes turning is left to the caller.
  if (mRotation == 90 || mRotation == 270) return {size.height, size.width};
  return size;
}

PictureSize PictureSizes::Output() const {
  const PictureSize size = Turned();
  return SwapsSides(mOrientation) ? PictureSize{size.height, size.width} : size;
}

}  // namespace codec
