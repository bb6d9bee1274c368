// SPDX-License-Identifier: MIT
// Counts the pictures of a stretch of a clip without decoding any.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "codec/decoder/packet_source.h"

namespace codec {

class JoinedParts;

// Reads all packets of a file, so that pictures count whose times go back. A backward walk does not
// meet such pictures: a seek by their times leads elsewhere.
class PictureScan {
 public:
  // Pictures at or after `from` and before `to` count, both in seconds of the file's stamps.
  PictureScan(double from, double to) : mFrom(from), mTo(to) {}

  // Reading ends with the first packet of the video at or after this position, in bytes. That
  // packet does not count.
  void EndBefore(int64_t position) { mEnd = position; }

  // Reads the best video stream of a local file. Packets that its index places outside of the file
  // count, too, if later ones lie inside. 0, or -1 with the reason logged. `parts` as for
  // InputFile::Join; null if the clock does not restart.
  int Read(const std::string& path, const std::shared_ptr<const JoinedParts>& parts);
  // Reads `source` to its end. Pictures that are decoded but not shown do not count. `packet` is
  // scratch.
  void Run(const AVStream* video, PacketSource* source, AVPacket* packet);

  int64_t Pictures() const { return mPictures; }

 private:
  void Count(const AVStream& video, int64_t stamp);

  const double mFrom;
  const double mTo;
  int64_t mEnd = std::numeric_limits<int64_t>::max();
  int64_t mPictures = 0;
};

}  // namespace codec
