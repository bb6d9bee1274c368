// SPDX-License-Identifier: MIT
// A source of packets. Scans of packets can be tested with one that is no file.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

class PacketSource {
 public:
  PacketSource() = default;
  virtual ~PacketSource() = default;
  PacketSource(const PacketSource&) = delete;
  PacketSource& operator=(const PacketSource&) = delete;

  // Fills the blank `packet`; the caller unreferences it. False at the end of input, and after an
  // error: then the packet is blank.
  virtual bool Read(AVPacket* packet) = 0;
};

}  // namespace codec
