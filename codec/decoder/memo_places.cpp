// SPDX-License-Identifier: MIT
#include "codec/decoder/memo_places.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace codec {
namespace {

int64_t BufferBytes(const AVFrame* frame) {
  int64_t bytes = 0;
  for (const AVBufferRef* buffer : frame->buf) {
    if (buffer != nullptr) bytes += static_cast<int64_t>(buffer->size);
  }
  return bytes;
}

bool HasPictureFrom(const MemoPlace& place, int64_t stamp) {
  return std::any_of(place.pictures.begin(), place.pictures.end(),
                     [stamp](const MemoPicture& picture) { return picture.stamp >= stamp; });
}

}  // namespace

bool MemoPlaces::IsNewLanding(const PacketIdentity& first) {
  if (!mRemembered.empty() && mRemembered.front().identity == first) return false;
  if (!mLater.IsSameLanding(first)) return true;
  Truncate(0);
  mRemembered = mLater.TakeBack();
  mPolicy.Join(0, 0);
  mStartsAfresh = true;
  mWasUsed = true;
  return false;
}

void MemoPlaces::Begin(bool startsAfresh) {
  const bool isUseful = mWasUsed || mLater.IsEmpty();
  if (!mRemembered.empty() && isUseful) {
    DropLater();
    if (mStartsAfresh && mLater.SetAside(&mRemembered)) mPolicy.SetAside();
  }
  Truncate(0);
  mWasUsed = false;
  mStartsAfresh = startsAfresh;
}

void MemoPlaces::Add(int64_t place, const PacketIdentity& identity) {
  if (IsRemembered(place)) {
    if (At(place).identity == identity) return;
    Truncate(place);
  }
  Follow(place, identity);
  if (IsRemembered(place)) return;
  // While there is a later group, the places before it are remembered: it takes over at their end.
  const bool isOpen = IsEnabled() && mLastNeeded == kNone;
  const bool isRemembered = (isOpen || !mLater.IsEmpty()) && mPassing.empty();
  if (mPassing.empty()) mFirstPassing = place;
  MemoRow& places = isRemembered ? mRemembered : mPassing;
  places.emplace_back();
  places.back().identity = identity;
}

MemoPlace& MemoPlaces::At(int64_t place) {
  return IsRemembered(place) ? mRemembered[static_cast<size_t>(place)]
                             : mPassing[static_cast<size_t>(place - mFirstPassing)];
}

bool MemoPlaces::IsNeeded(int64_t place) const {
  return IsRemembered(place) && (mLastNeeded == kNone || place <= mLastNeeded);
}

void MemoPlaces::Keep(int64_t place, MemoPicture* picture) {
  if (picture->frame == nullptr) return;
  if (!IsNeeded(place)) return picture->frame.reset();
  const int64_t bytes = BufferBytes(picture->frame.get());
  if (mPolicy.CrowdsOutAside(bytes)) DropLater();
  picture->isKept = true;
  Drop(mPolicy.Keep(place, bytes));
}

void MemoPlaces::Owe(int64_t bytes) {
  if (mPolicy.CrowdsOutAside(bytes)) DropLater();
  Drop(mPolicy.Owe(bytes));
}

void MemoPlaces::Drop(const std::vector<int64_t>& places) {
  for (const int64_t place : places) {
    for (MemoPicture& picture : At(place).pictures) {
      if (std::exchange(picture.isKept, false)) picture.frame.reset();
    }
  }
}

void MemoPlaces::PassBy(int64_t place) {
  while (!mPassing.empty() && mFirstPassing < place) {
    mPassing.pop_front();
    ++mFirstPassing;
  }
}

void MemoPlaces::Rewind() {
  if (mLastNeeded != kNone) Truncate(mLastNeeded + 1);
  if (mIsTorn) Truncate(0);
  const auto incomplete = std::find_if(mRemembered.begin(), mRemembered.end(),
                                       [](const MemoPlace& place) { return !place.isComplete; });
  Truncate(incomplete - mRemembered.begin());
  mPassing.clear();
  mLastNeeded = kNone;
  mIsTorn = false;
  EndTakeover();
}

void MemoPlaces::Truncate(int64_t place) {
  if (!IsRemembered(place)) return;
  mRemembered.erase(mRemembered.begin() + static_cast<std::ptrdiff_t>(place), mRemembered.end());
  mPolicy.DropFrom(place);
}

void MemoPlaces::DropLater() {
  mLater.Clear();
  mPolicy.DropAside();
}

// The later group takes over if the walk has come to its first picture. If one of its pictures has
// come already, it does not: from further back the decoder gives the pictures sooner.
void MemoPlaces::Follow(int64_t place, const PacketIdentity& identity) {
  if (mLater.IsEmpty()) return;
  if (!mLater.Follow(place, identity)) return DropLater();
  if (!mLater.IsReached(place)) return;
  const auto border = mRemembered.begin() + static_cast<std::ptrdiff_t>(mLater.Border());
  const int64_t stamp = mLater.BorderStamp();
  if (std::any_of(border, mRemembered.end(),
                  [stamp](const MemoPlace& one) { return HasPictureFrom(one, stamp); })) {
    return DropLater();
  }
  mPolicy.Join(mLater.Trusted(), place);
  MemoRow places = mLater.TakeOver(place);
  std::move(places.begin(), places.end(), std::back_inserter(mRemembered));
}

void MemoPlaces::Tear(int64_t stamp) {
  mIsTorn = true;
  for (int64_t place = mLater.Takeover(); IsRemembered(place); ++place) {
    std::vector<MemoPicture>& pictures = At(place).pictures;
    const auto twin =
        std::find_if(pictures.begin(), pictures.end(),
                     [stamp](const MemoPicture& picture) { return picture.stamp == stamp; });
    if (twin == pictures.end()) continue;
    pictures.erase(twin);
    return;
  }
}

}  // namespace codec
