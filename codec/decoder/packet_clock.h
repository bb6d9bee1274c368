// SPDX-License-Identifier: MIT
// The time of a packet, and how long the packet lasts.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The packet's pts, else its dts; AV_NOPTS_VALUE if it has neither.
int64_t StampOf(const AVPacket* packet);
// How long the packet lasts, in units of `base`: the packet's own duration, else that of a picture
// at the average rate of its stream, else 0.
int64_t LengthOf(const AVPacket* packet, const AVStream* stream, AVRational base);
// Seconds of a number of ticks.
double Seconds(int64_t ticks, AVRational base);

// As StampOf, but 0 with an error line if the packet has no stamp.
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
