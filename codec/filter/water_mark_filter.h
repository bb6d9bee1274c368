// SPDX-License-Identifier: MIT
// Stamps a logo into a corner of every picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "base/lock.h"
#include "codec/filter/listener.h"
#include "codec/filter/logo_loader.h"
#include "codec/filter/media_filter.h"
#include "codec/utils/working_buffer.h"

namespace codec {

// Corners count clockwise from 1, top left. Corner and turn may change while pictures flow: OnEvent
// prepares a whole new stamp and puts it in the place of the old one, and a picture uses the stamp
// that is there when it comes.
class WaterMarkFilter : public MediaFilter, public Listener {
 public:
  WaterMarkFilter() = default;
  // Leaves no trace of itself in the ListenerRegistry.
  ~WaterMarkFilter() override;

  // Reads "color-format", "logo-path", "water-mark-color-type" (1 to 4; only kRgbaType and
  // kBgraType stamp), "water-mark-pos" (1 to 4), "water-mark-gap" (pixels between logo and edges)
  // and "water-mark-rotation" (0, 90, 180, 270, clockwise) besides the size. 0, or -1 after a line
  // in the log.
  int Configure(MediaFormat& format) override;

  // Changes `picture` in place. A logo that does not fit is reported and left out.
  MediaBuffer* Process(uint8_t* picture) override;

  // Acts on kWaterMarkEvent, from any thread. A rotation that is no quarter turn blanks the logo,
  // and is the last that is taken.
  int32_t OnEvent(int32_t what, int32_t arg1) override;

 private:
  // What goes onto a picture, and where; never changed once it is made.
  struct Stamp {
    WorkingBuffer pixels;
    int32_t width = 0;
    int32_t height = 0;
    int32_t x = 0;
    int32_t y = 0;
  };

  int ReadSettings(MediaFormat& format) BUT_WANTS(mLock);
  int PrepareLogo();
  void ExchangeLogoBytes();
  int ScaleLogo();
  // Turns the logo and computes its corner: the next stamp.
  // False, after an error line, when memory runs out.
  bool MakeStamp() BUT_WANTS(mLock);
  bool _RotateLogo(Stamp* stamp) const BUT_WANTS(mLock);
  void PlaceLogo(Stamp* stamp) const BUT_WANTS(mLock);
  bool FitsPicture(const Stamp& stamp) const;
  std::shared_ptr<const Stamp> CurrentStamp();

  // Set by Configure.
  std::string mLogoPath;
  Logo mLogo;  // as loaded, then scaled; turning never changes it
  int32_t mColorType = 0;
  int32_t mGap = 0;
  int32_t mFrameSize = 0;

  but::Mutex mLock;
  int32_t mPosition BUT_UNDER(mLock) = 0;
  int32_t mRotation BUT_UNDER(mLock) = 0;

  // May be taken while mLock is held, and is held only to copy the pointer, so that Process never
  // waits for a turn.
  but::Mutex mStampLock;
  std::shared_ptr<const Stamp> mStamp BUT_UNDER(mStampLock);
};

}  // namespace codec
