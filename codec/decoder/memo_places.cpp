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

// The first place from which on all pictures are shown at or after the first packet. Pictures shown
// before it may refer to what comes before it. The end of the input is no such place: it brings out
// pictures of the group before, too.
int64_t FirstTrusted(const std::deque<MemoPlace>& places) {
  const int64_t first = places.front().identity.pts;
  int64_t trusted = MemoPlaces::kNone;
  for (size_t place = 0; place < places.size() && !places[place].identity.isEnd; ++place) {
    for (const MemoPicture& picture : places[place].pictures) {
      if (picture.stamp < first) {
        trusted = MemoPlaces::kNone;
      } else if (trusted == MemoPlaces::kNone) {
        trusted = static_cast<int64_t>(place);
      }
    }
  }
  return trusted;
}

}  // namespace

bool MemoPlaces::IsNewLanding(const PacketIdentity& first) {
  if (!mRemembered.empty() && mRemembered.front().identity == first) return false;
  if (mLater.empty() || !(mLater.front().identity == first)) return true;
  // The landing is that of the later group.
  Truncate(0);
  mRemembered = std::exchange(mLater, {});
  mPolicy.Join(0, 0);
  mStartsAfresh = true;
  mWasUsed = true;
  return false;
}

void MemoPlaces::Begin(bool startsAfresh) {
  const bool isIntact = std::all_of(mRemembered.begin(), mRemembered.end(),
                                    [](const MemoPlace& place) { return place.isIntact; });
  const bool isUseful = mWasUsed || mLater.empty();
  if (!mRemembered.empty() && isUseful) {
    DropLater();
    mTrusted = kNone;
    if (mStartsAfresh && isIntact && mRemembered.front().identity.pts != AV_NOPTS_VALUE) {
      mTrusted = FirstTrusted(mRemembered);
    }
    if (mTrusted != kNone) {
      mLater = std::exchange(mRemembered, {});
      mPolicy.SetAside();
    }
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
  const bool isRemembered = (mIsOpen || !mLater.empty()) && mPassing.empty();
  if (mPassing.empty()) mFirstPassing = place;
  Places& places = isRemembered ? mRemembered : mPassing;
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

void MemoPlaces::Close(int64_t place) {
  if (mLastNeeded != kNone) return;
  mLastNeeded = place;
  mIsOpen = false;
}

void MemoPlaces::Rewind() {
  if (mLastNeeded != kNone) Truncate(mLastNeeded + 1);
  if (mIsTorn) Truncate(0);
  const auto incomplete = std::find_if(mRemembered.begin(), mRemembered.end(),
                                       [](const MemoPlace& place) { return !place.isComplete; });
  Truncate(incomplete - mRemembered.begin());
  mPassing.clear();
  mIsOpen = mIsEnabled;
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
  mLater.clear();
  mPolicy.DropAside();
  if (mTakeover == kNone) mBorder = kNone;
}

// Compares a new packet with the next one of the later group.
void MemoPlaces::Follow(int64_t place, const PacketIdentity& identity) {
  if (mLater.empty() || mTakeover != kNone) return;
  if (mBorder == kNone && mLater.front().identity.IsSamePacket(identity)) {
    mBorder = place;
    mBorderStamp = identity.pts;
  }
  if (mBorder == kNone) return;
  const auto later = static_cast<size_t>(place - mBorder);
  if (later >= mLater.size() || !mLater[later].identity.IsSamePacket(identity)) {
    return DropLater();
  }
  if (place - mBorder != mTrusted) return;
  // None of the later group's pictures may have come already.
  const auto border = mRemembered.begin() + static_cast<std::ptrdiff_t>(mBorder);
  if (std::any_of(border, mRemembered.end(),
                  [this](const MemoPlace& one) { return HasPictureFrom(one, mBorderStamp); })) {
    return DropLater();
  }
  TakeOver(place);
}

void MemoPlaces::TakeOver(int64_t place) {
  mPolicy.Join(mTrusted, place);
  std::move(mLater.begin() + static_cast<std::ptrdiff_t>(mTrusted), mLater.end(),
            std::back_inserter(mRemembered));
  mLater.clear();
  mTakeover = place;
}

void MemoPlaces::EndTakeover() {
  mBorder = kNone;
  mTakeover = kNone;
}

void MemoPlaces::Tear(int64_t stamp) {
  mIsTorn = true;
  for (int64_t place = mTakeover; IsRemembered(place); ++place) {
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
