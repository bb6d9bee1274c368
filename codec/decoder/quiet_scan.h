// SPDX-License-Identifier: MIT
// Finds the stretches of a clip in which nothing happens.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "codec/decoder/packet_source.h"

namespace codec {

class JoinedParts;

// Looks at the packets of some streams, nothing decoded, and remembers the minutes that they begin
// in. A clip whose stamps jump has hours without a packet. Takes memory for the minutes that have
// packets, however far apart they are.
class QuietScan {
 public:
  // Reads the best video stream and this sound stream of a local file. 0, or -1 with the reason
  // logged. `parts` as for InputFile::Join; null if the clock does not restart.
  int Read(const std::string& path, int soundStream,
           const std::shared_ptr<const JoinedParts>& parts = nullptr);

  // Packets of this stream count; it is used by Run alone.
  void Add(const AVStream* stream) { mStreams.push_back(stream); }
  // Reads `source` to its end. `packet` is scratch.
  void Run(PacketSource* source, AVPacket* packet);

  // Seconds of [from, to) that lie in stretches without a packet, each of them `shortest` seconds
  // or longer. A stretch counts from the end of a minute with a packet to the start of the next
  // such minute. All times are in seconds, `from` and `to` in the file's stamps.
  double Seconds(double from, double to, double shortest) const;

 private:
  std::vector<const AVStream*> mStreams;
  std::set<int64_t> mMinutes;
};

}  // namespace codec
