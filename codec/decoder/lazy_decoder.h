// SPDX-License-Identifier: MIT
// A video decoder that gets its packets only if they are needed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/decoder/owed_packets.h"
#include "codec/decoder/picture_decoder.h"

namespace codec {

// A packet that is added is owed to the decoder until Feed hands it over. Places count all packets
// added, from 0 on. The decoder may begin again at a later packet: then its own places are counted
// on from there.
class LazyDecoder {
 public:
  // The decoder outlives this object.
  explicit LazyDecoder(PictureDecoder* decoder) : mDecoder(decoder) {}

  // Adds a packet and leaves it blank; null for the end of the input. False if there is no memory.
  bool Add(AVPacket* packet) { return mOwed.Add(packet); }
  // The place of the next packet to be added.
  int64_t Added() const { return mOwed.End(); }
  // The place of the next packet to be fed.
  int64_t Fed() const { return mFed; }

  // Whether the decoder wants a packet before it gives another picture.
  bool IsHungry() const { return mIsHungry; }
  // Hands over the next packet. 0 or a negative error.
  int Feed();
  // The decoder gives all pictures that it still has. It takes no packet before the next Begin.
  void Drain();
  // Takes the next picture, as PictureDecoder does. After Drain it returns AVERROR_EOF if nothing
  // is left.
  int Receive(AVFrame* frame);

  // The decoder has no more pictures for the places before this one.
  int64_t Answered() const { return mBegin + mDecoder->Answered(); }
  // The place of the picture that Receive has just given, or of its error.
  int64_t Place() const;
  // Counts the picture that Receive has just given as one of this place. How many of this place
  // came before.
  size_t NumberAt(int64_t place);

  // All packets count as fed: the decoder has ended and takes no more.
  void SkipAll() { mFed = Added(); }
  // Drops the packets before this place that were fed. Returns their bytes.
  int64_t DropFed(int64_t place) { return mOwed.DropBefore(place < mFed ? place : mFed); }
  // The decoder forgets all pictures, and begins again at a packet that was not dropped.
  void Begin(int64_t place);
  // The same, and all packets are dropped. The next one added has place 0.
  void Clear();

 private:
  PictureDecoder* const mDecoder;
  OwedPackets mOwed;       // and packets that the decoder may need to begin again
  int64_t mFed = 0;        // place
  int64_t mBegin = 0;      // place of the first packet that the decoder got
  int64_t mLastPlace = 0;  // of the last picture
  size_t mGiven = 0;       // pictures of this place
  bool mIsHungry = true;
  bool mIsDraining = false;  // by Drain
};

}  // namespace codec
