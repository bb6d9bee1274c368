// SPDX-License-Identifier: MIT
// Turns and mirrors pictures.
#pragma once

#include <cstdint>

#include "codec/filter/media_filter.h"
#include "codec/utils/working_buffer.h"

namespace codec {

// For "yuv420p" of even sides, with or without another filter after it.
class OrientationFilter : public MediaFilter {
 public:
  // Reads "orientation" (see utils/orientation.h) besides the size. 0, or -1 after an error line.
  int Configure(MediaFormat& format) override;

  MediaBuffer* Process(uint8_t* picture) override;

 private:
  int32_t mOrientation = 1;
  WorkingBuffer mWorking;
};

}  // namespace codec
