// SPDX-License-Identifier: MIT
#include "codec/filter/rotate_filter.h"

#include <cstring>
#include <string>

#include "base/log.h"
#include "codec/filter/color_type.h"
#include "codec/utils/image_utils.h"
#include "codec/utils/yuv_convert.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::RotateFilter";

}  // namespace

int RotateFilter::Configure(MediaFormat& format) {
  if (MediaFilter::Configure(format) != 0) return -1;
  std::string colorFormat;
  if (format.GetString("color-format", colorFormat) != 0) {
    log_error(kTag, "not set color format");
    return -1;
  }
  mInputSize = FrameSize(width, height, colorFormat.c_str());
  format.GetInt32("rotate-color-type", mColorType);
  format.GetInt32("rotation", mRotation);
  const bool upright = mRotation == 0 || mRotation == 180;
  if (!upright && mRotation != 90 && mRotation != 270) {
    log_error(kTag, "rotation must be 0 90 180 270");
    return -1;
  }
  mOutputWidth = upright ? width : height;
  mOutputHeight = upright ? height : width;
  const int64_t bytes = PictureBytes(mColorType, mOutputWidth, mOutputHeight);
  if (!mWorking.Resize(bytes)) {
    log_error(kTag, "no memory for pictures of %dx%d", mOutputWidth, mOutputHeight);
    return -1;
  }
  return 0;
}

MediaBuffer* RotateFilter::Process(uint8_t* picture) {
  if (picture == nullptr) return nullptr;
  if (next != nullptr) {
    if (mRotation == 0) return next->Process(picture);
    if (!mWorking.Empty()) Turn(picture, mWorking.Data());
    return next->Process(mWorking.Data());
  }
  const auto bytes = mRotation != 0 ? static_cast<int32_t>(mWorking.Size()) : mInputSize;
  MediaBuffer* buffer = TakeBuffer(bytes);
  if (buffer == nullptr) return nullptr;
  if (mRotation != 0) {
    Turn(picture, buffer->Data());
  } else {
    std::memcpy(buffer->Data(), picture, static_cast<size_t>(mInputSize));
  }
  return buffer;
}

void RotateFilter::Turn(const uint8_t* picture, uint8_t* out) const {
  if (mColorType == kYuv420pType) {
    TurnYuv420p(picture, out, width, height, mRotation);
  } else if (IsFourByteType(mColorType)) {
    TurnRgba(picture, out, width, height, mRotation);
  }
}

}  // namespace codec
