// Where packets come from, so that what scans packets can be tested without a file.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

class PacketSource {
 public:
  PacketSource() = default;
  virtual ~PacketSource() = default;
  PacketSource(const PacketSource&) = delete;
  PacketSource& operator=(const PacketSource&) = delete;

  // Fills the blank `packet`; the caller unreferences it. False at the end of input, after an
  // error too: the packet is blank then.
  virtual bool Read(AVPacket* packet) = 0;
};

}  // namespace codec
