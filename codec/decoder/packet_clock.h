// SPDX-License-Identifier: MIT
// Which of a packet's two stamps counts as its time.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The packet's pts, else its dts, else 0 with an error line.
int64_t PacketTimestamp(const AVPacket* packet);

// Chooses between pts and dts for a stream some of whose packets lack one: the kind that has been
// missing less often is trusted.
class PacketClock {
 public:
  // To be called twice for each packet of the stream: after it is read, and after it is decoded.
  // Both counters grow alike, so that their comparison holds.
  void Count(const AVPacket* packet);
  // The packet's time in ticks; AV_NOPTS_VALUE if it has neither stamp.
  int64_t Choose(const AVPacket* packet) const;

  int32_t InvalidPts() const { return mInvalidPts; }
  int32_t InvalidDts() const { return mInvalidDts; }

 private:
  int32_t mInvalidPts = 0;
  int32_t mInvalidDts = 0;
};

}  // namespace codec
