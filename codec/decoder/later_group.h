// SPDX-License-Identifier: MIT
// A group of pictures that an earlier walk has decoded, and that the present walk may come to.
#pragma once

#include <cstdint>

#include "codec/decoder/memo_place.h"

namespace codec {

// A backward run lands on one group, and later on the group before. The places of the first walk
// are set aside here. When the second walk comes to the packet that they begin with, the walk
// follows them, packet by packet. At the first place that has a picture of this group, they take
// over: from there on they are the places of the second walk, and are not decoded again.
//
// Knows packets and stamps only. docs/decoder.md draws the border between two groups.
class LaterGroup {
 public:
  static constexpr int64_t kNone = -1;

  // Sets the places of a walk aside, and leaves `places` empty. The walk must have begun at a
  // packet that leans on nothing before it (StartsAfresh). Needs three things: this packet has a
  // stamp, no picture is damaged, and from some place on all pictures are stamped like the packet
  // or later. Otherwise false: nothing is set aside and `places` stay.
  bool SetAside(MemoRow* places);
  bool IsEmpty() const { return mPlaces.empty(); }
  // Whether the walk that was set aside began with this packet, too.
  bool IsSameLanding(const PacketIdentity& first) const {
    return !IsEmpty() && mPlaces.front().identity == first;
  }
  // All places, which are not set aside any more.
  MemoRow TakeBack();
  // Forgets the places, and the border.
  void Clear();

  // The walk comes to a packet. False if the group holds another packet here: then it cannot take
  // over. Not to be called while the group is empty.
  bool Follow(int64_t place, const PacketIdentity& identity);
  // Whether the place that was just followed is the one at which the group can take over.
  bool IsReached(int64_t place) const { return mBorder != kNone && place == mBorder + mTrusted; }
  // The group takes over at this place. Gives the places from there on.
  MemoRow TakeOver(int64_t place);
  // The decoder has given all pictures before the takeover.
  void EndTakeover() { mBorder = mTakeover = kNone; }

  // The place of the group's first packet while the walk follows the group, else kNone.
  int64_t Border() const { return mBorder; }
  // The stamp of this packet. Pictures from this stamp on belong to the group.
  int64_t BorderStamp() const { return mBorderStamp; }
  // The place at which the group takes over, until EndTakeover. Otherwise kNone.
  int64_t Takeover() const { return mTakeover; }
  // The first place from which on all pictures are stamped like the first packet or later. Counted
  // from the group's first packet.
  int64_t Trusted() const { return mTrusted; }

 private:
  MemoRow mPlaces;
  int64_t mTrusted = 0;
  int64_t mBorder = kNone;
  int64_t mBorderStamp = 0;
  int64_t mTakeover = kNone;
};

}  // namespace codec
