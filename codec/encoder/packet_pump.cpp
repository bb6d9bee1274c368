// SPDX-License-Identifier: MIT
#include "codec/encoder/packet_pump.h"

#include <cerrno>
#include <utility>

namespace codec {

int PacketPump::Open(AVCodecContext* context) {
  mPacket.reset(av_packet_alloc());
  if (mPacket == nullptr) return AVERROR(ENOMEM);
  mContext = context;
  mHasFrames = false;
  return 0;
}

int PacketPump::Send(const AVFrame* frame) {
  if (mContext == nullptr) return AVERROR(EINVAL);
  int result = avcodec_send_frame(mContext, frame);
  if (result == AVERROR(EAGAIN)) {
    // The encoder is full. After its packets are taken, it has room.
    result = Receive();
    if (result == 0) result = avcodec_send_frame(mContext, frame);
  }
  mHasFrames = mHasFrames || result >= 0;
  return result < 0 ? result : Receive();
}

int PacketPump::Drain() {
  if (mContext == nullptr) return 0;
  // Some encoders wait for ever for a first frame.
  const int result = mHasFrames ? Send(nullptr) : 0;
  mContext = nullptr;
  return result;
}

// Takes what the encoder has ready, also if a packet could not be used: encoders do not end well
// with packets left in them.
int PacketPump::Receive() {
  int first = 0;
  for (;;) {
    const ffmpeg::PacketGuard guard(mPacket.get());
    const int received = avcodec_receive_packet(mContext, mPacket.get());
    if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return first;
    if (received < 0) return received;
    const int taken = mTaker->Take(mPacket.get());
    if (first == 0 && taken < 0) first = taken;
  }
}

}  // namespace codec
