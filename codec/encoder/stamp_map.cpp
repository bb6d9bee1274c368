// SPDX-License-Identifier: MIT
#include "codec/encoder/stamp_map.h"

#include <algorithm>

namespace codec {

int64_t StampMap::At(int64_t number) const {
  if (mPlaces.empty()) return number * mFrameTicks;
  const Place& first = mPlaces.front();
  const Place& last = mPlaces.back();
  if (number <= first.number) return first.stamp - (first.number - number) * mFrameTicks;
  if (number >= last.number) return last.stamp + (number - last.number) * mFrameTicks;
  const auto above =
      std::lower_bound(mPlaces.begin(), mPlaces.end(), number,
                       [](const Place& place, int64_t wanted) { return place.number < wanted; });
  if (above->number == number) return above->stamp;
  const auto below = above - 1;
  const int64_t numbers = above->number - below->number;
  return below->stamp + (number - below->number) * (above->stamp - below->stamp) / numbers;
}

std::optional<int64_t> StampMap::After(int64_t number) const {
  const auto after =
      std::upper_bound(mPlaces.begin(), mPlaces.end(), number,
                       [](int64_t wanted, const Place& place) { return wanted < place.number; });
  if (after == mPlaces.end()) return std::nullopt;
  return after->stamp;
}

void StampMap::ForgetBefore(int64_t number) {
  // One place at or below the number stays: what lies between this place and the next one is still
  // asked for.
  while (mPlaces.size() > 1 && mPlaces[1].number <= number) mPlaces.pop_front();
}

}  // namespace codec
