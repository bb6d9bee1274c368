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

// Keeps the newest packets: the last few, which will be heard, and before these as many as the
// decoder needs to get going. Lets go of older ones.
class HeldPackets {
 public:
  // The newest packets that will be heard: one beyond the target, the one that reaches over it, and
  // one more for a decoder that is a packet late.
  static constexpr size_t kHeard = 3;

  explicit HeldPackets(PrerollNeed need) : mNeed(need) {}

  // A blank packet to be read into; owned here. Null when there is no memory. The next call gives
  // the same one unless Add was called in between.
  AVPacket* Blank();
  // Holds the packet that Blank gave; it lasts this many seconds.
  void Add(double seconds);

  // Whether the older packets are enough for the decoder.
  bool Suffices() const { return SufficesWithout(0); }

  size_t Size() const { return mPackets.size(); }
  AVPacket* At(size_t index) const { return mPackets[index].packet.get(); }
  // The first one that will be heard.
  size_t FirstHeard() const { return Size() > kHeard ? Size() - kHeard : 0; }
  // Lets go of all.
  void Clear();

 private:
  struct Held {
    ffmpeg::UniquePacket packet;
    double seconds;
  };

  bool SufficesWithout(double seconds) const;
  void DropOldest();

  PrerollNeed mNeed;
  std::deque<Held> mPackets;
  std::vector<ffmpeg::UniquePacket> mBlank;  // used again, the last one first
  double mPrerollSeconds = 0;                // of the packets before the first one heard
};

}  // namespace codec
