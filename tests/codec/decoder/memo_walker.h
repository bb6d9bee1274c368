// SPDX-License-Identifier: MIT
// Walks through a stream of numbered packets, as seeks and reads do.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <vector>

#include "codec/decoder/picture_memo.h"
#include "tests/codec/decoder/fake_picture_decoder.h"

namespace codec {

constexpr int64_t kUnlimited = std::numeric_limits<int64_t>::max();
constexpr int kEnd = -1;
constexpr int kBlank = -2;  // a picture without samples
constexpr int kError = -3;

// A stream of numbered packets in groups, and a walk through it.
class Walker {
 public:
  Walker(FakeDecoder* decoder, int64_t budget)
      : memo(decoder, &mFailure, budget, [this](const AVPacket& packet) {
          return starts.empty() ? packet.pts % group == 0 : starts.count(packet.pts) != 0;
        }) {}

  void Send(int number) {
    const ffmpeg::UniquePacket packet(av_packet_alloc());
    packet->pts = packet->dts = packet->pos = number;
    packet->size = number == empty ? 0 : kPacketBytes;
    memo.Send(packet.get());
  }

  // Reads from packet `from` on, until picture `to` has come. What came is in `seen`, from picture
  // `target` on; up to it the walk looks at stamps only.
  void Read(int from, int target, int to) {
    memo.Flush();
    seen.clear();
    memo.BeginWalk(lookedAt);
    mNext = from;
    bool isOver = false;
    while (!isOver) {
      const int number = One();
      if (number == kEnd) break;
      if (number >= target && mIsWalking) {
        mIsWalking = false;
        memo.EndWalk();
        seen.push_back(mStamp);
        isOver = mStamp >= to;
        continue;
      }
      if (mIsWalking) continue;
      seen.push_back(number);
      if (closes && seen.size() == 2) memo.Close();
      isOver = number >= to;
    }
    mIsWalking = true;
  }

  // The next picture.
  int One() {
    const ffmpeg::UniqueFrame frame(av_frame_alloc());
    for (;;) {
      const int result = memo.Receive(frame.get());
      if (result == AVERROR_EOF) return kEnd;
      if (result == AVERROR(EAGAIN)) {
        places.push_back(static_cast<int>(memo.Answered()));
        if (!memo.WantsPacket()) continue;
        if (mNext < packets) {
          Send(mNext++);
        } else {
          memo.Send(nullptr);
        }
        continue;
      }
      if (result < 0) {
        ++errors;
        return kError;
      }
      mStamp = static_cast<int>(frame->best_effort_timestamp);
      if (frame->buf[0] == nullptr) return mIsWalking && mStamp < lookedAt ? mStamp : kBlank;
      int number = 0;
      std::memcpy(&number, frame->data[0], sizeof(number));
      return number;
    }
  }

  PictureMemo memo;
  std::vector<int> seen;
  std::vector<int> places;
  int errors = 0;
  int packets = 1000;
  int group = 10;                // decoding can begin at each multiple of it,
  std::set<int64_t> starts;      // or only here, if there are any
  int empty = -1;                // packet without bytes
  int64_t lookedAt = INT64_MAX;  // from this stamp on the walk looks at samples, too
  bool closes = true;

 private:
  FirstFailure mFailure;
  int mNext = 0;
  int mStamp = 0;
  bool mIsWalking = true;
};

inline std::vector<int> Numbers(int from, int to) {
  std::vector<int> numbers;
  for (int number = from; number <= to; ++number) numbers.push_back(number);
  return numbers;
}

// A backward run: each walk begins at the start of the group that holds its target.
inline void RunBackwards(Walker* walker, int from, int step) {
  for (int target = from; target >= 0; target -= step) {
    walker->Read(target / walker->group * walker->group, target, target + step + 1);
    ASSERT_EQ(walker->seen, Numbers(target, std::min(target + step + 1, walker->packets - 1)))
        << "from " << target;
  }
}

}  // namespace codec
