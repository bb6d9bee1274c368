// SPDX-License-Identifier: MIT
// Tells to which packet a picture belongs that a decoder with several threads gives.
#pragma once

#include <cstdint>
#include <deque>

namespace codec {

// A decoder with N frame threads answers N - 1 packets late: the picture that comes out after
// packet k is the picture that a single thread would have given after packet k - (N - 1). At the
// end of the input the missing answers come in one row. A picture carries the decoding stamp of its
// packet. A picture that only the end of the input brings out carries no stamp. If stamps do not
// tell, packets are counted.
//
// A packet may have several parts. Each part counts as a packet to the threads.
//
// Knows numbers only. Places are defined in PictureDecoder.
class AnswerPlaces {
 public:
  // The value of a stamp that is not known.
  static constexpr int64_t kNoStamp = INT64_MIN;

  // `delay`: how many parts late the decoder answers.
  explicit AnswerPlaces(int64_t delay) : mDelay(delay) {}

  // A packet of so many parts with this decoding stamp was sent.
  void Sent(int64_t stamp, int parts = 1);
  // The end of the input was sent. `reorder`: how many packets later a picture comes, because
  // another picture may have to be shown first.
  void SentEnd(int reorder);
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
  struct Packet {
    int64_t stamp;
    int64_t lastPart;  // counted from the last flush
  };

  void AnswerUpTo(int64_t place);
  bool KnowsStamps() const;
  int64_t PlaceOf(int64_t part) const;

  const int64_t mDelay;
  int64_t mParts = 0;  // sent
  int64_t mSent = 0;
  int64_t mAnswered = 0;
  bool mDraining = false;
  int64_t mGiven = 0;  // pictures
  int64_t mReorder = 0;
  std::deque<Packet> mPackets;  // not yet answered
};

}  // namespace codec
