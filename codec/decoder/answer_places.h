// Tells to which packet a picture belongs that a decoder with several threads gives.
#pragma once

#include <cstdint>
#include <deque>

namespace codec {

// A decoder with N frame threads answers N - 1 packets late: the picture that comes out after
// packet k is the one that a single thread would have given after packet k - (N - 1). At the end of
// the input the missing answers come in one row. There a picture carries the decoding stamp of its
// packet, and pictures that only the end of the input brings out carry none.
//
// Knows numbers only. Places are defined in PictureDecoder.
class AnswerPlaces {
 public:
  // The value of a stamp that is not known.
  static constexpr int64_t kNoStamp = INT64_MIN;

  // `delay`: how many packets late the decoder answers.
  explicit AnswerPlaces(int64_t delay) : mDelay(delay) {}

  // A packet with this decoding stamp was sent.
  void Sent(int64_t stamp);
  // The end of the input was sent.
  void SentEnd() { mDraining = true; }
  // The decoder gave a picture that carries this decoding stamp.
  void Gave(int64_t stamp);
  // The decoder wants another packet.
  void WantsPacket();
  // The decoder has nothing left.
  void Ended();
  void Flush();

  // The places that are answered. The picture of the last Gave belongs to the next place.
  int64_t Answered() const { return mAnswered; }

 private:
  void AnswerUpTo(int64_t place);

  const int64_t mDelay;
  int64_t mSent = 0;
  int64_t mAnswered = 0;
  bool mDraining = false;
  bool mGaveHere = false;        // a picture of the first place that is not answered
  std::deque<int64_t> mStamps;   // of the packets that are not answered
};

}  // namespace codec
