// SPDX-License-Identifier: MIT
// Packets that wait until the first one to be heard is known.
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

// Keeps the packets that will be heard: those that reach over the target or lie after it, and
// always the last few. Keeps as many packets before these as the decoder needs to get going. Drops
// older ones.
class HeldPackets {
 public:
  // The newest packets that will be heard: one after the target, one that reaches over it, and one
  // more, because stamps are rounded.
  static constexpr size_t kHeard = 3;

  explicit HeldPackets(PrerollNeed need) : mNeed(need) {}

  // Drops all. The next packets are for the sound from this time on, in seconds.
  void StartOver(double target);

  // A blank packet to be read into; owned here. Null if there is no memory. The next call gives the
  // same packet unless Add was called in between.
  AVPacket* Blank();
  // Holds the packet that Blank gave, which is heard from `begin` on and lasts this long, both in
  // seconds.
  void Add(double begin, double length);

  // Whether the packets before the first one heard are enough for the decoder.
  bool Suffices() const { return Size() >= kHeard && SufficesWithout(0, 0); }

  size_t Size() const { return mPackets.size(); }
  AVPacket* At(size_t index) const { return mPackets[index].packet.get(); }
  // From when on it is heard, and how long, both in seconds.
  double BeginOf(size_t index) const { return mPackets[index].end - mPackets[index].length; }
  double LengthOf(size_t index) const { return mPackets[index].length; }
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
  std::vector<ffmpeg::UniquePacket> mBlank;  // to be used again
  size_t mFirstHeard = 0;
  double mPrerollSeconds = 0;  // of the packets before the first one heard
};

}  // namespace codec
