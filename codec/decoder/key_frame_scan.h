// SPDX-License-Identifier: MIT
// What the packets of the video tell, without decoding any.
#pragma once

#include <cstdint>

#include "codec/decoder/packet_source.h"

namespace codec {

// Reads up to the second key packet of the video stream that is separated from the first by other
// packets.
class KeyFrameScan {
 public:
  explicit KeyFrameScan(int videoIndex) : mVideoIndex(videoIndex) {}

  // Only the first video packet is read, for its stamp.
  void EndAtFirst() { mEndsAtFirst = true; }

  // `firstPts` is set from the first video packet if it is AV_NOPTS_VALUE. `packet` is scratch.
  void Run(PacketSource* source, AVPacket* packet, int64_t* firstPts);

  // Bytes, of the first video packet; below 0 if there was none, or its position is unknown.
  int64_t FirstPosition() const { return mFirstPosition; }
  // Non-key packets between two key packets; 0 if no second key packet came after some of them.
  int64_t PacketsBetween() const { return mSecondKeyFound ? mCount : 0; }

 private:
  int mVideoIndex;
  bool mEndsAtFirst = false;
  bool mKeyFound = false;
  bool mSecondKeyFound = false;
  int64_t mCount = 0;
  bool mHasFirst = false;
  int64_t mFirstPosition = -1;
};

// Looks for changing packet durations, and for the first stamp if the scan above met no video.
class VariableRateCheck {
 public:
  explicit VariableRateCheck(int videoIndex) : mVideoIndex(videoIndex) {}

  // Reads some hundred packets at most; logs its finding. `firstPts` and `packet` as above.
  void Run(PacketSource* source, AVPacket* packet, int64_t* firstPts);

  bool IsVariable() const { return mChanges >= kChangesWanted; }

 private:
  static constexpr int kPacketLimit = 500;
  static constexpr int kVideoPacketBudget = 20;
  static constexpr int kChangesWanted = 3;

  void Look(const AVPacket* packet, int64_t* firstPts);

  int mVideoIndex;
  int mChanges = 0;
  int mBudget = kVideoPacketBudget;
  int64_t mLastDuration = 0;
};

}  // namespace codec
