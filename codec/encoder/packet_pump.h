// SPDX-License-Identifier: MIT
// Drives an encoder whose packets come late or in another order.
#pragma once

#include "codec/ffmpeg/owned.h"

namespace codec {

// Takes the packets of one encoder.
class PacketTaker {
 public:
  virtual ~PacketTaker() = default;
  // The packet has the encoder's own stamps, in its time base, and may be moved away. 0, or a
  // negative error, which ends the work.
  virtual int Take(AVPacket* packet) = 0;
};

// Gives frames to one encoder by FFmpeg's send and receive calls and passes on every packet that
// comes out. Drain asks the encoder for all that is left, so that nothing is lost, however many
// frames the encoder held.
class PacketPump {
 public:
  // The taker belongs to the caller.
  explicit PacketPump(PacketTaker* taker) : mTaker(taker) {}

  // The context is open, and stays the caller's. 0, or AVERROR(ENOMEM).
  int Open(AVCodecContext* context);
  // Gives one frame. 0, or the first negative error of encoder or taker.
  int Send(const AVFrame* frame);
  // No more frames. The same results; a second call does nothing.
  int Drain();

 private:
  int Receive();

  PacketTaker* const mTaker;
  AVCodecContext* mContext = nullptr;  // null unless open, and after Drain
  bool mHasFrames = false;
  ffmpeg::UniquePacket mPacket;
};

}  // namespace codec
