// SPDX-License-Identifier: MIT
// What a memo knows of each place of a walk.
#pragma once

#include <cstdint>
#include <vector>

#include "codec/decoder/later_group.h"
#include "codec/decoder/memo_place.h"
#include "codec/decoder/memo_policy.h"

namespace codec {

// The places of the present walk, numbered from its landing on. Those at the front are remembered
// for the next walk from the same landing. Others only pass: they go as soon as they are given.
//
// If a walk begins at another landing, the places of the last walk become the later group, if that
// group can ever take over.
class MemoPlaces {
 public:
  static constexpr int64_t kNone = LaterGroup::kNone;

  // `budget` in bytes of what is remembered; 0 for none.
  explicit MemoPlaces(int64_t budget) : mPolicy(budget) {}

  bool IsEnabled() const { return mPolicy.IsEnabled(); }

  // Whether the walk that begins with this packet needs Begin. If not, the landing is known.
  bool IsNewLanding(const PacketIdentity& first);
  // A walk begins at a new landing. `startsAfresh`: its first packet leans on nothing before it
  // (StartsAfresh). A walk that gave no picture does not take the place of a later group.
  void Begin(bool startsAfresh);
  // The walk comes to the next place. It may be remembered, or new, or the one at which the later
  // group takes over.
  void Add(int64_t place, const PacketIdentity& identity);
  // Any place that is remembered, or that has not been given yet.
  MemoPlace& At(int64_t place);
  const MemoPlace& At(int64_t place) const { return const_cast<MemoPlaces*>(this)->At(place); }
  bool IsRemembered(int64_t place) const { return place < Remembered(); }

  // Whether a later walk may ask for the pictures of this place.
  bool IsNeeded(int64_t place) const;
  // Keeps a picture that the caller has got, if it is needed and there is room. Otherwise its
  // samples go.
  void Keep(int64_t place, MemoPicture* picture);
  // The places before this one have been given.
  void PassBy(int64_t place);
  // Later walks need nothing after this place.
  void Close(int64_t place) { mLastNeeded = place; }
  // A picture was given to be used. A walk without any is not worth to be set aside.
  void NoteUse() { mWasUsed = true; }
  // The walk is over; the next one begins at place 0.
  void Rewind();

  // A packet of this size is owed to the decoder, or has been paid.
  void Owe(int64_t bytes);
  void Pay(int64_t bytes) { mPolicy.Pay(bytes); }
  // Whether more may be owed.
  bool MayOwe() const { return mPolicy.MayOwe(); }

  // Where the walk meets the later group.
  const LaterGroup& Later() const { return mLater; }
  // The decoder has given all pictures before the takeover.
  void EndTakeover() { mLater.EndTakeover(); }
  // After the takeover the decoder gives a picture that does not fit: one of the later group too
  // soon, or one of the earlier group too late. The caller gets the decoder's picture. If the later
  // group has a picture of this stamp, it is not given. All is forgotten at the end of the walk.
  void Tear(int64_t stamp);

 private:
  int64_t Remembered() const { return static_cast<int64_t>(mRemembered.size()); }
  void Truncate(int64_t place);
  void Drop(const std::vector<int64_t>& places);
  void DropLater();
  void Follow(int64_t place, const PacketIdentity& identity);

  MemoPolicy mPolicy;
  MemoRow mRemembered;        // from place 0 on
  MemoRow mPassing;           // the ones after them
  int64_t mFirstPassing = 0;  // place of the first of these
  LaterGroup mLater;

  // Of the present walk.
  bool mStartsAfresh = false;  // at place 0
  bool mWasUsed = false;
  int64_t mLastNeeded = kNone;  // place; new ones are remembered until there is one
  bool mIsTorn = false;
};

}  // namespace codec
