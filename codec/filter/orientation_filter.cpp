// SPDX-License-Identifier: MIT
#include "codec/filter/orientation_filter.h"

#include "base/log.h"
#include "codec/filter/color_type.h"
#include "codec/utils/orientation.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::OrientationFilter";

}  // namespace

int OrientationFilter::Configure(MediaFormat& format) {
  if (MediaFilter::Configure(format) != 0) return -1;
  format.GetInt32("orientation", mOrientation);
  if (mOrientation < kUpright || mOrientation > kTurn270 || width % 2 != 0 || height % 2 != 0) {
    log_error(kTag, "orientation must be 1 to 8, and the size even: %d, %dx%d", mOrientation, width,
              height);
    return -1;
  }
  if (mWorking.Resize(PictureBytes(kYuv420pType, width, height))) return 0;
  log_error(kTag, "no memory for pictures of %dx%d", width, height);
  return -1;
}

MediaBuffer* OrientationFilter::Process(uint8_t* picture) {
  if (picture == nullptr) return nullptr;
  if (next != nullptr) {
    OrientYuv420p(picture, mWorking.Data(), width, height, mOrientation);
    return next->Process(mWorking.Data());
  }
  const auto bytes = static_cast<int32_t>(PictureBytes(kYuv420pType, width, height));
  MediaBuffer* const buffer = TakeBuffer(bytes);
  if (buffer != nullptr) OrientYuv420p(picture, buffer->Data(), width, height, mOrientation);
  return buffer;
}

}  // namespace codec
