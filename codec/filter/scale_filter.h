// SPDX-License-Identifier: MIT
// Resizes pictures.
#pragma once

#include <cstdint>

#include "codec/filter/media_filter.h"
#include "codec/utils/working_buffer.h"

namespace codec {

class ScaleFilter : public MediaFilter {
 public:
  // Reads "scale-color-type" (see color_type.h), "target-width", "target-height" and "color-format"
  // besides the size. 0, or -1 after a line in the log. A target of 0 is accepted; nothing is
  // written then.
  int Configure(MediaFormat& format) override;

  // A target equal to the size passes `picture` itself on.
  MediaBuffer* Process(uint8_t* picture) override;

 private:
  void Scale(const uint8_t* picture, uint8_t* out) const;

  int32_t mTargetWidth = 0;
  int32_t mTargetHeight = 0;
  int32_t mColorType = 0;
  WorkingBuffer mWorking;
  int32_t mInputSize = 0;
  bool mNeedsScaling = true;
};

}  // namespace codec
