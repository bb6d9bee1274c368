// SPDX-License-Identifier: MIT
#include "codec/decoder/later_group.h"

#include <algorithm>
#include <utility>

namespace codec {
namespace {

// The first place from which on all pictures are shown at or after the first packet. Pictures shown
// before it may refer to the group before. The end of the input does not count: it also brings out
// pictures of the group before.
int64_t FirstTrusted(const MemoRow& places) {
  const int64_t first = places.front().identity.pts;
  int64_t trusted = LaterGroup::kNone;
  for (size_t place = 0; place < places.size() && !places[place].identity.isEnd; ++place) {
    for (const MemoPicture& picture : places[place].pictures) {
      if (picture.stamp < first) {
        trusted = LaterGroup::kNone;
      } else if (trusted == LaterGroup::kNone) {
        trusted = static_cast<int64_t>(place);
      }
    }
  }
  return trusted;
}

}  // namespace

bool LaterGroup::SetAside(MemoRow* places) {
  const bool isIntact = std::all_of(places->begin(), places->end(),
                                    [](const MemoPlace& place) { return place.isIntact; });
  if (places->empty() || !isIntact || places->front().identity.pts == AV_NOPTS_VALUE) return false;
  const int64_t trusted = FirstTrusted(*places);
  if (trusted == kNone) return false;
  mPlaces = std::exchange(*places, {});
  mTrusted = trusted;
  return true;
}

MemoRow LaterGroup::TakeBack() { return std::exchange(mPlaces, {}); }

void LaterGroup::Clear() {
  mPlaces.clear();
  EndTakeover();
}

bool LaterGroup::Follow(int64_t place, const PacketIdentity& identity) {
  if (mBorder == kNone && mPlaces.front().identity.IsSamePacket(identity)) {
    mBorder = place;
    mBorderStamp = identity.pts;
  }
  if (mBorder == kNone) return true;
  const auto number = static_cast<size_t>(place - mBorder);
  return number < mPlaces.size() && mPlaces[number].identity.IsSamePacket(identity);
}

MemoRow LaterGroup::TakeOver(int64_t place) {
  mTakeover = place;
  mPlaces.erase(mPlaces.begin(), mPlaces.begin() + static_cast<std::ptrdiff_t>(mTrusted));
  return TakeBack();
}

}  // namespace codec
