// SPDX-License-Identifier: MIT
// When the sound of a stream begins and ends.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "codec/decoder/packet_source.h"
#include "codec/decoder/sound_stretch.h"

namespace codec {

class JoinedParts;

// Looks at the packets of one stream, nothing decoded: for sound that cannot be decoded.
class SoundExtent {
 public:
  // Reads this stream of a local file to its end. 0, or -1 with the reason logged. `parts` as for
  // InputFile::Join; null if the clock does not restart.
  int Read(const std::string& path, int stream, const std::shared_ptr<const JoinedParts>& parts);

  // The part of the sound that lies in [from, to), all in seconds of the file's stamps. Nothing if
  // there is none. Packets without a stamp do not count. A packet that does not say how long it
  // lasts counts with its distance from the packet before.
  std::optional<LostSound> Within(double from, double to) const;

 private:
  double mBegin = 0;
  double mEnd = 0;  // not after mBegin if there is no sound
};

}  // namespace codec
