// SPDX-License-Identifier: MIT
#include "codec/filter/water_mark_filter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "base/log.h"
#include "codec/filter/color_type.h"
#include "codec/filter/listener_registry.h"
#include "codec/utils/image_utils.h"
#include "codec/utils/logo_image.h"
#include "codec/utils/unique_bytes.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::WaterMarkFilter";

// A thin logo grows with its longer side; past this it could not fit any picture.
constexpr int64_t kMaxLogoPixels = int64_t{1} << 25;

bool IsPosition(int32_t position) { return position >= 1 && position <= 4; }

bool IsQuarterTurn(int32_t rotation) {
  return rotation == 0 || rotation == 90 || rotation == 180 || rotation == 270;
}

// Gaps may be any number, so that corners far outside the picture stop at the ends of the range.
int32_t Corner(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

}  // namespace

WaterMarkFilter::~WaterMarkFilter() { ListenerRegistry::Instance().Forget(this); }

int WaterMarkFilter::Configure(MediaFormat& format) {
  if (MediaFilter::Configure(format) != 0) return -1;
  const but::HeldLock held(&mLock);
  if (ReadSettings(format) != 0 || PrepareLogo() != 0) return -1;
  return MakeStamp() ? 0 : -1;
}

int WaterMarkFilter::ReadSettings(MediaFormat& format) {
  std::string colorFormat;
  if (format.GetString("color-format", colorFormat) != 0) {
    log_error(kTag, "not set color format");
    return -1;
  }
  mFrameSize = FrameSize(width, height, colorFormat.c_str());
  if (format.GetString("logo-path", mLogoPath) != 0) {
    log_error(kTag, "not set logo path");
    return -1;
  }
  if (format.GetInt32("water-mark-color-type", mColorType) != 0) {
    log_error(kTag, "not set water mark color type");
    return -1;
  }
  if (!IsFourByteType(mColorType)) {
    log_debug(kTag, "Invalid water mark color type");
    return -1;
  }
  format.GetInt32("water-mark-pos", mPosition);
  format.GetInt32("water-mark-gap", mGap);
  format.GetInt32("water-mark-rotation", mRotation);
  log_debug(kTag, "water_mark_pos:%d", mPosition);
  log_debug(kTag, "water_mark_gap:%d", mGap);
  log_debug(kTag, "water_mark_rotation:%d", mRotation);
  if (!IsPosition(mPosition)) {
    log_error(kTag, "error water mark position:%d", mPosition);
    return -1;
  }
  if (!IsQuarterTurn(mRotation)) {
    log_error(kTag, "error water mark rotation:%d", mRotation);
    return -1;
  }
  return 0;
}

int WaterMarkFilter::PrepareLogo() {
  if (LoadLogo(mLogoPath.c_str(), &mLogo) != 0) {
    log_error(kTag, "load logo error:%s", mLogoPath.c_str());
    return -1;
  }
  log_debug(kTag, "logo size:%dx%d, logo color:%d, logo bit depth:%d", mLogo.width, mLogo.height,
            mLogo.colorType, mLogo.bitDepth);
  if (mLogo.colorType != kPngRgb) {
    log_error(kTag, "not supported logo color type: %d", mLogo.colorType);
    return -1;
  }
  if (mColorType == kBgraType) ExchangeLogoBytes();
  return ScaleLogo();
}

void WaterMarkFilter::ExchangeLogoBytes() {
  const int64_t end = int64_t{3} * mLogo.width * mLogo.height - 3;
  uint8_t* const bytes = mLogo.pixels.get();
  for (int64_t i = 0; i < end; i += 3) std::swap(bytes[i], bytes[i + 2]);
}

int WaterMarkFilter::ScaleLogo() {
  const int frameSide = std::min(width, height);
  const int logoSide = std::min(mLogo.width, mLogo.height);
  // The logo's shorter side becomes 11/108 of the picture's.
  const float factor = static_cast<float>(frameSide * 11.0 / 108.0) / static_cast<float>(logoSide);
  log_debug(kTag, "logo scale fator s=%0.3f", static_cast<double>(factor));
  int scaledWidth = 0;
  int scaledHeight = 0;
  ScaledSize(mLogo.width, mLogo.height, factor, 2, &scaledWidth, &scaledHeight);
  log_debug(kTag, "scale logo (%d,%d)->(%d, %d)", mLogo.width, mLogo.height, scaledWidth,
            scaledHeight);
  const int64_t pixels = int64_t{scaledWidth} * scaledHeight;
  UniqueBytes scaled;
  if (pixels <= kMaxLogoPixels) {
    scaled.reset(static_cast<uint8_t*>(std::calloc(static_cast<size_t>(WithSlack(pixels * 3)), 1)));
  }
  if (scaled == nullptr || ScaleBGR(mLogo.pixels.get(), mLogo.width, mLogo.height, scaled.get(),
                                    scaledWidth, scaledHeight) != 0) {
    log_error(kTag, "no room for a logo of %dx%d", scaledWidth, scaledHeight);
    return -1;
  }
  mLogo.pixels = std::move(scaled);
  mLogo.width = scaledWidth;
  mLogo.height = scaledHeight;
  return 0;
}

bool WaterMarkFilter::MakeStamp() {
  auto stamp = std::make_shared<Stamp>();
  if (!_RotateLogo(stamp.get())) {
    // An old stamp serves on.
    log_error(kTag, "no memory for the turned logo");
    return false;
  }
  PlaceLogo(stamp.get());
  // The last user of the old stamp frees it outside of the lock.
  std::shared_ptr<const Stamp> made = std::move(stamp);
  const but::HeldLock held(&mStampLock);
  mStamp.swap(made);
  return true;
}

bool WaterMarkFilter::_RotateLogo(Stamp* stamp) const {
  log_debug(kTag, "_RotateLogo begin");
  const bool lies = mRotation == 90 || mRotation == 270;
  stamp->width = lies ? mLogo.height : mLogo.width;
  stamp->height = lies ? mLogo.width : mLogo.height;
  const bool done = stamp->pixels.Resize(int64_t{3} * stamp->width * stamp->height) &&
                    TurnBGR(mLogo.pixels.get(), mLogo.width, mLogo.height, stamp->pixels.Data(),
                            stamp->width, stamp->height, mRotation) == 0;
  log_debug(kTag, "_RotateLogo end");
  return done;
}

void WaterMarkFilter::PlaceLogo(Stamp* stamp) const {
  const bool right = mPosition == 2 || mPosition == 3;
  const bool bottom = mPosition == 3 || mPosition == 4;
  stamp->x = right ? Corner(int64_t{width} - mGap - stamp->width) : mGap;
  stamp->y = bottom ? Corner(int64_t{height} - mGap - stamp->height) : mGap;
}

std::shared_ptr<const WaterMarkFilter::Stamp> WaterMarkFilter::CurrentStamp() {
  const but::HeldLock held(&mStampLock);
  return mStamp;
}

// The factory takes formats of fewer than four bytes a pixel for "bgra". Their pictures end before
// the last pixel that the stamp may cover; all others leave the judgement to OverlayLogo.
bool WaterMarkFilter::FitsPicture(const Stamp& stamp) const {
  if (mFrameSize >= PictureBytes(mColorType, width, height)) return true;
  const int64_t lastRow = int64_t{stamp.y} + stamp.height - 1;
  const int64_t end = 4 * (lastRow * width + stamp.x + stamp.width);
  if (end <= mFrameSize) return true;
  log_error(kTag, "logo at %d %d lies behind a picture of %d bytes", stamp.x, stamp.y, mFrameSize);
  return false;
}

MediaBuffer* WaterMarkFilter::Process(uint8_t* picture) {
  if (picture == nullptr) return nullptr;
  if (mColorType == kRgbaType || mColorType == kBgraType) {
    const std::shared_ptr<const Stamp> stamp = CurrentStamp();
    if (stamp != nullptr && FitsPicture(*stamp)) {
      OverlayLogo(picture, width, height, stamp->pixels.Data(), stamp->width, stamp->height,
                  stamp->x, stamp->y);
    }
  }
  if (next != nullptr) return next->Process(picture);
  MediaBuffer* buffer = TakeBuffer(mFrameSize);
  if (buffer == nullptr) return nullptr;
  std::memcpy(buffer->Data(), picture, static_cast<size_t>(mFrameSize));
  return buffer;
}

int32_t WaterMarkFilter::OnEvent(int32_t what, int32_t arg1) {
  const but::HeldLock held(&mLock);
  log_debug(kTag, "OnEvent what:%d, arg1:%d", what, arg1);
  if (what != kWaterMarkEvent) return 0;
  const auto bits = static_cast<uint32_t>(arg1);
  const auto rotation = static_cast<int32_t>(bits >> 16);
  const auto position = static_cast<int32_t>(bits & 0xFFFFU);
  log_debug(kTag, "rotation:%d, position:%d", rotation, position);
  if (IsPosition(position)) mPosition = position;
  // The stored value decides, not the new one.
  if (IsQuarterTurn(mRotation)) mRotation = rotation;
  MakeStamp();
  return 0;
}

}  // namespace codec
