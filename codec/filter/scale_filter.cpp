// SPDX-License-Identifier: MIT
#include "codec/filter/scale_filter.h"

#include <cstring>
#include <string>

#include "base/log.h"
#include "codec/filter/color_type.h"
#include "codec/utils/image_utils.h"
#include "codec/utils/yuv_convert.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::ScaleFilter";

}  // namespace

int ScaleFilter::Configure(MediaFormat& format) {
  if (MediaFilter::Configure(format) != 0) return -1;
  format.GetInt32("scale-color-type", mColorType);
  format.GetInt32("target-width", mTargetWidth);
  format.GetInt32("target-height", mTargetHeight);
  std::string colorFormat;
  if (format.GetString("color-format", colorFormat) != 0) {
    log_error(kTag, "not set color format");
    return -1;
  }
  mInputSize = FrameSize(width, height, colorFormat.c_str());
  if (width == mTargetWidth && height == mTargetHeight) mNeedsScaling = false;
  if (!IsFourByteType(mColorType) && mColorType != kYuv420pType) {
    log_debug(kTag, "Invalid scale color type");
    return -1;
  }
  if (!IsUsablePictureSize(mTargetWidth, mTargetHeight) ||
      !mWorking.Resize(PictureBytes(mColorType, mTargetWidth, mTargetHeight))) {
    log_error(kTag, "Invalid target size (%d, %d)", mTargetWidth, mTargetHeight);
    return -1;
  }
  return 0;
}

MediaBuffer* ScaleFilter::Process(uint8_t* picture) {
  if (picture == nullptr) return nullptr;
  if (next != nullptr) {
    if (!mNeedsScaling) return next->Process(picture);
    if (!mWorking.Empty()) Scale(picture, mWorking.Data());
    return next->Process(mWorking.Data());
  }
  const auto bytes = mNeedsScaling ? static_cast<int32_t>(mWorking.Size()) : mInputSize;
  MediaBuffer* buffer = TakeBuffer(bytes);
  if (buffer == nullptr) return nullptr;
  if (mNeedsScaling) {
    Scale(picture, buffer->Data());
  } else {
    std::memcpy(buffer->Data(), picture, static_cast<size_t>(mInputSize));
  }
  return buffer;
}

void ScaleFilter::Scale(const uint8_t* picture, uint8_t* out) const {
  if (mColorType == kYuv420pType) {
    ScaleYuv420p(picture, width, height, out, mTargetWidth, mTargetHeight);
  } else if (IsFourByteType(mColorType)) {
    ScaleRgba(picture, width, height, out, mTargetWidth, mTargetHeight);
  }
}

}  // namespace codec
