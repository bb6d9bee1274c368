// SPDX-License-Identifier: MIT
// Finds how long a clip is whose file does not say.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "codec/decoder/packet_source.h"
#include "codec/decoder/stream_facts.h"

namespace codec {

// Looks at the packets of some streams, without decoding any, and remembers the time at which the
// last one ends.
class LengthScan {
 public:
  // Packets of this stream count; it is used while this object lives.
  void Add(const AVStream* stream);

  // Reads `source` to its end. `packet` is scratch.
  void Run(PacketSource* source, AVPacket* packet);

  // The largest end of any packet, and the largest begins, in seconds of the file's stamps. A
  // packet without a stamp follows the packet before it, or begins at 0 if it is the first. A
  // packet that does not say how long it lasts counts with the average of its stream's rate, or
  // with 0. A packet whose picture or sound is not to be shown does not count. Nothing if there was
  // no packet that counts.
  std::optional<ScannedLength> Length() const;

 private:
  struct Track {
    const AVStream* stream;
    int64_t next;                // ticks: of a packet without a stamp
    std::optional<int64_t> end;  // ticks
    int64_t latest;              // ticks: of the packet that is shown last
  };

  void Look(const AVPacket* packet, Track* track);

  std::vector<Track> mTracks;
  bool mLacksTimes = false;
};

}  // namespace codec
