// Packets that wait until it is known which of them is the first to be heard.
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "codec/ffmpeg/owned.h"

namespace codec {

// What a decoder has to be fed before its output equals that of a decode from the start.
struct PrerollNeed {
  double seconds = 0;
  size_t packets = 0;
};

// Keeps the packets that will be heard: those that reach over the target or lie beyond it, and the
// last few in any case. Before them it keeps as many as the decoder needs to get going, and lets go
// of older ones.
class HeldPackets {
 public:
  // The newest packets that will be heard: one beyond the target, the one that reaches over it, and
  // one more, because stamps are rounded.
  static constexpr size_t kHeard = 3;

  explicit HeldPackets(PrerollNeed need) : mNeed(need) {}

  // Lets go of all. The next packets are for what sounds at and after this time, in seconds.
  void StartOver(double target);

  // A blank packet to be read into; owned here. Null when there is no memory. The next call gives
  // the same one unless Add was called in between.
  AVPacket* Blank();
  // Holds the packet that Blank gave, which is heard from `begin` on and lasts this long, both in
  // seconds.
  void Add(double begin, double length);

  // Whether the packets before the first one heard are enough for the decoder.
  bool Suffices() const { return Size() >= kHeard && SufficesWithout(0, 0); }

  size_t Size() const { return mPackets.size(); }
  AVPacket* At(size_t index) const { return mPackets[index].packet.get(); }
  // The index of the first one that will be heard.
  size_t FirstHeard() const { return mFirstHeard; }

 private:
  struct Held {
    ffmpeg::UniquePacket packet;
    double length;  // seconds
    double end;     // seconds
  };

  bool SufficesWithout(size_t packets, double seconds) const;
  void DropOldest();

  PrerollNeed mNeed;
  double mTarget = 0;
  std::deque<Held> mPackets;
  std::vector<ffmpeg::UniquePacket> mBlank;  // used again, the last one first
  size_t mFirstHeard = 0;
  double mPrerollSeconds = 0;  // of the packets before the first one heard
};

}  // namespace codec
