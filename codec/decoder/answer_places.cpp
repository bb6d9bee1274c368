#include "codec/decoder/answer_places.h"

#include <algorithm>

namespace codec {

void AnswerPlaces::Sent(int64_t stamp) {
  ++mSent;
  mStamps.push_back(stamp);
}

void AnswerPlaces::AnswerUpTo(int64_t place) {
  if (place <= mAnswered) return;
  const int64_t packets = std::min(place - mAnswered, static_cast<int64_t>(mStamps.size()));
  mStamps.erase(mStamps.begin(), mStamps.begin() + packets);
  mAnswered = place;
  mGaveHere = false;
}

void AnswerPlaces::Gave(int64_t stamp) {
  if (!mDraining) {
    AnswerUpTo(mSent - mDelay - 1);
  } else if (const auto packet = std::find(mStamps.begin(), mStamps.end(), stamp);
             stamp != kNoStamp && packet != mStamps.end()) {
    AnswerUpTo(mAnswered + (packet - mStamps.begin()));
  } else if (std::any_of(mStamps.begin(), mStamps.end(), [](int64_t s) { return s != kNoStamp; })) {
    AnswerUpTo(mSent);
  } else if (mGaveHere) {
    // Without stamps the best guess is one picture a packet.
    AnswerUpTo(std::min(mAnswered + 1, mSent));
  }
  mGaveHere = true;
}

void AnswerPlaces::WantsPacket() {
  if (!mDraining) AnswerUpTo(mSent - mDelay);
}

void AnswerPlaces::Ended() { AnswerUpTo(mSent + 1); }

void AnswerPlaces::Flush() {
  mSent = 0;
  mAnswered = 0;
  mDraining = false;
  mGaveHere = false;
  mStamps.clear();
}

}  // namespace codec
