// SPDX-License-Identifier: MIT
#include "codec/decoder/answer_places.h"

#include <algorithm>

namespace codec {

void AnswerPlaces::Sent(int64_t stamp, int parts) {
  ++mSent;
  mParts += parts;
  mPackets.push_back({stamp, mParts - 1});
}

void AnswerPlaces::SentEnd(int reorder) {
  mDraining = true;
  mReorder = reorder;
}

void AnswerPlaces::AnswerUpTo(int64_t place) {
  if (place <= mAnswered) return;
  const int64_t packets = std::min(place - mAnswered, static_cast<int64_t>(mPackets.size()));
  mPackets.erase(mPackets.begin(), mPackets.begin() + packets);
  mAnswered = place;
}

bool AnswerPlaces::KnowsStamps() const {
  return std::all_of(mPackets.begin(), mPackets.end(),
                     [](const Packet& packet) { return packet.stamp != kNoStamp; });
}

// The place whose packet has this part.
int64_t AnswerPlaces::PlaceOf(int64_t part) const {
  const auto packet =
      std::find_if(mPackets.begin(), mPackets.end(),
                   [part](const Packet& candidate) { return part <= candidate.lastPart; });
  return mAnswered + (packet - mPackets.begin());
}

void AnswerPlaces::Gave(int64_t stamp) {
  // The picture cannot be of a later packet than the threads have come to.
  const int64_t latest = mDraining ? mSent : PlaceOf(mParts - 1 - mDelay);
  int64_t place = mAnswered;
  for (const Packet& packet : mPackets) {
    if (place > latest || packet.stamp == stamp) break;
    ++place;
  }
  const bool isFound = stamp != kNoStamp && place <= latest && place < mSent;
  if (isFound) {
    AnswerUpTo(place);
  } else if (!mDraining || KnowsStamps()) {
    AnswerUpTo(latest);
  } else {
    // The best guess is one picture a packet.
    AnswerUpTo(std::min(mGiven + mReorder, mSent));
  }
  ++mGiven;
}

void AnswerPlaces::WantsPacket() {
  if (!mDraining) AnswerUpTo(PlaceOf(mParts - mDelay));
}

void AnswerPlaces::Ended() { AnswerUpTo(mSent + 1); }

void AnswerPlaces::Flush() {
  mParts = 0;
  mSent = 0;
  mAnswered = 0;
  mDraining = false;
  mGiven = 0;
  mPackets.clear();
}

}  // namespace codec
