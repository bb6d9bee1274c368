// SPDX-License-Identifier: MIT
// Turns pictures by quarters.
#pragma once

#include <cstdint>

#include "codec/filter/media_filter.h"
#include "codec/utils/working_buffer.h"

namespace codec {

class RotateFilter : public MediaFilter {
 public:
  // Reads "color-format", "rotate-color-type" (see color_type.h) and "rotation", clockwise degrees,
  // besides the size. 0, or -1 after an error line. An unknown type is accepted; nothing is written
  // then.
  int Configure(MediaFormat& format) override;

  // A rotation of 0 passes `picture` itself on.
  MediaBuffer* Process(uint8_t* picture) override;

 private:
  void Turn(const uint8_t* picture, uint8_t* out) const;

  int32_t mColorType = 0;
  int32_t mRotation = 0;
  int32_t mOutputWidth = 0;
  int32_t mOutputHeight = 0;
  WorkingBuffer mWorking;
  int32_t mInputSize = 0;
};

}  // namespace codec
