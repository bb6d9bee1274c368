// What a memo knows of each place of a walk.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "codec/decoder/memo_policy.h"
#include "codec/decoder/packet_identity.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

struct MemoPicture {
  ffmpeg::UniqueFrame frame;  // null if the samples had to go
  int64_t stamp;              // ticks of the stream
  bool isKept = false;        // remembered; otherwise the samples go once the picture is given
};

// A packet, and the pictures that belong to it.
struct MemoPlace {
  PacketIdentity identity;
  std::vector<MemoPicture> pictures;
  bool isComplete = false;  // the decoder has no more pictures for it
  bool isIntact = true;     // no picture is damaged or has a stamp that was guessed
};

// The places of the present walk, numbered from its landing on. Those at the front are remembered
// for the next walk from the same landing. Others only pass: they go as soon as they are given.
//
// If a walk begins at another landing, the places of the last one are set aside as a later group,
// provided that decoding from the later landing shows the very same pictures as decoding from
// further back. When the walk comes to the packet that the later group begins with, and the packets
// after it are the same too, the later group takes over. See the drawing in picture_memo.h.
class MemoPlaces {
 public:
  static constexpr int64_t kNone = -1;

  // `budget` in bytes of what is remembered; 0 for none.
  explicit MemoPlaces(int64_t budget)
      : mPolicy(budget), mIsOpen(mPolicy.IsEnabled()), mIsEnabled(mPolicy.IsEnabled()) {}

  bool IsEnabled() const { return mIsEnabled; }

  // Whether the walk that begins with this packet needs Begin. If it does not, it begins at a
  // landing that is known.
  bool IsNewLanding(const PacketIdentity& first);
  // A walk begins at a new landing. `startsAfresh`: pictures shown from its first packet on are the
  // same, be they decoded from there or from further back.
  void Begin(bool startsAfresh);
  // The walk comes to the next place. It may be one that is remembered, a new one, or the one at
  // which the later group takes over.
  void Add(int64_t place, const PacketIdentity& identity);
  // Any place from the one being given on, and those remembered.
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
  // Later walks need nothing after this place. The first call of a walk counts.
  void Close(int64_t place);
  // A picture was given to be used. A landing from which there were none is not worth much.
  void NoteUse() { mWasUsed = true; }
  // The walk is over; the next one begins at place 0.
  void Rewind();

  // Packets of this size are owed to the decoder, or have been paid.
  void Owe(int64_t bytes);
  void Pay(int64_t bytes) { mPolicy.Pay(bytes); }
  // Whether more may be owed.
  bool MayOwe() const { return mPolicy.MayOwe(); }

  // The place of the packet that the later group begins with, while the walk follows the group;
  // otherwise kNone. And the stamp of that packet.
  int64_t Border() const { return mBorder; }
  int64_t BorderStamp() const { return mBorderStamp; }
  // The place from which on the later group answers, until EndTakeover; otherwise kNone.
  int64_t Takeover() const { return mTakeover; }
  void EndTakeover();
  // The groups do not fit together: the later one does not give its picture of this stamp, and all
  // is forgotten at the end of the walk.
  void Tear(int64_t stamp);

 private:
  using Places = std::deque<MemoPlace>;

  int64_t Remembered() const { return static_cast<int64_t>(mRemembered.size()); }
  void Truncate(int64_t place);
  void Drop(const std::vector<int64_t>& places);
  void DropLater();
  void Follow(int64_t place, const PacketIdentity& identity);
  void TakeOver(int64_t place);

  MemoPolicy mPolicy;
  Places mRemembered;         // from place 0 on
  Places mPassing;            // the ones after them
  int64_t mFirstPassing = 0;  // place of the first of these
  bool mIsOpen;               // new places are remembered
  const bool mIsEnabled;
  bool mStartsAfresh = false;  // place 0
  bool mWasUsed = false;
  int64_t mLastNeeded = kNone;  // place
  bool mIsTorn = false;

  Places mLater;
  int64_t mTrusted = 0;  // the first of them whose pictures are the same from further back
  int64_t mBorder = kNone;
  int64_t mBorderStamp = 0;
  int64_t mTakeover = kNone;
};

}  // namespace codec
