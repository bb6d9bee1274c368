// SPDX-License-Identifier: MIT
// A video decoder of numbers.
#pragma once

#include <cstring>
#include <map>
#include <vector>

#include "codec/decoder/picture_decoder.h"

namespace codec {

constexpr int kPictureBytes = 100;
constexpr int kPacketBytes = 1;

// Packet n becomes picture n, which comes `reorder` packets later, and another `late` packets later
// because of threads. A packet without bytes ends the decoder.
class FakeDecoder : public PictureDecoder {
 public:
  explicit FakeDecoder(int packetsLate = 0, int packetsReordered = 0)
      : reorder(packetsReordered), mLate(packetsLate) {}

  int Send(AVPacket* packet) override {
    if (packet == nullptr || packet->size == 0) {
      mIsDraining = true;
      return 0;
    }
    mPackets.push_back(static_cast<int>(packet->pts));
    const auto known = reorderFrom.find(mPackets.front());
    if (known != reorderFrom.end()) reorder = known->second;
    sent.push_back(mPackets.back());
    return 0;
  }

  int Receive(AVFrame* frame) override {
    const auto packets = static_cast<int>(mPackets.size());
    const int answerable = mIsDraining ? packets : packets - mLate;
    for (; mPlace < answerable; Next()) {
      if (mGave || mPlace < reorder) continue;
      return Give(mPackets[static_cast<size_t>(mPlace - reorder)], frame);
    }
    if (!mIsDraining) return AVERROR(EAGAIN);
    const int left = packets - reorder + mDrained;
    if (left < 0 || left >= packets) {
      mPlace = packets + 1;
      return AVERROR_EOF;
    }
    ++mDrained;
    return Give(mPackets[static_cast<size_t>(left)], frame);
  }

  int64_t Answered() const override { return mPlace; }

  void Flush() override {
    mPackets.clear();
    mIsDraining = false;
    mPlace = 0;
    mDrained = 0;
    mGave = false;
    ++flushes;
  }

  std::vector<int> sent;  // all packets
  int given = 0;          // pictures
  int flushes = 0;
  int damaged = -1;  // packet that gives an error instead of a picture
  int corrupt = -1;  // packet whose picture is marked as damaged
  int reorder;
  std::map<int, int> reorderFrom;  // replaces `reorder`, by the packet that decoding begins at

 private:
  void Next() {
    ++mPlace;
    mGave = false;
  }

  int Give(int number, AVFrame* frame) {
    mGave = true;
    if (number == damaged) return AVERROR_INVALIDDATA;
    ++given;
    frame->buf[0] = av_buffer_alloc(kPictureBytes);
    frame->data[0] = frame->buf[0]->data;
    std::memcpy(frame->data[0], &number, sizeof(number));
    frame->pts = number;
    if (number == corrupt) frame->flags |= AV_FRAME_FLAG_CORRUPT;
    frame->best_effort_timestamp = number;
    return 0;
  }

  const int mLate;
  std::vector<int> mPackets;
  bool mIsDraining = false;
  int mPlace = 0;
  int mDrained = 0;
  bool mGave = false;
};

}  // namespace codec
