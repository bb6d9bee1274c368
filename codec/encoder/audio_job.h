// SPDX-License-Identifier: MIT
// One frame of sound on its way through the encoder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/ffmpeg/owned.h"

namespace codec {

// Holds its samples itself, so that they can be encoded while the caller goes on. Used again and
// again: what it has allocated stays.
struct AudioJob {
  ffmpeg::UniqueFrame frame;  // points at `staging`
  std::vector<uint8_t>
      staging;  // samples as the encoder takes them; grows to the largest block seen
  std::vector<ffmpeg::UniquePacket> packets;  // the first `packetCount` are the frame's
  size_t packetCount = 0;
  int sendResult = 0;     // of avcodec_send_frame
  int receiveResult = 0;  // the last of avcodec_receive_packet, a negative one; 0 before it

  // Makes the frame as the opened encoder wants it. 0, or -1 after an error line.
  int Prepare(const AVCodecContext* context);
  // Encodes the frame, or drains the encoder where `input` is null, and keeps what comes out.
  void Encode(AVCodecContext* context, const AVFrame* input);
};

}  // namespace codec
