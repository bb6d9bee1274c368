// SPDX-License-Identifier: MIT
#include "codec/decoder/memo_policy.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace codec {

std::vector<int64_t> MemoPolicy::Keep(int64_t place, int64_t bytes) {
  const auto at = static_cast<size_t>(place);
  if (at >= mSizes.size()) mSizes.resize(at + 1, 0);
  mSizes[at] += bytes;
  mBytes += bytes;
  mFirst = std::min(mFirst, at);
  return MakeRoom();
}

std::vector<int64_t> MemoPolicy::Owe(int64_t bytes) {
  mBytesOwed += bytes;
  return MakeRoom();
}

std::vector<int64_t> MemoPolicy::MakeRoom() {
  std::vector<int64_t> gone;
  while (Bytes() > mBudget && mFirst < mSizes.size()) {
    if (mSizes[mFirst] > 0) gone.push_back(static_cast<int64_t>(mFirst));
    mBytes -= std::exchange(mSizes[mFirst], 0);
    ++mFirst;
  }
  return gone;
}

void MemoPolicy::DropFrom(int64_t place) {
  const auto at = static_cast<size_t>(place);
  if (at >= mSizes.size()) return;
  mBytes = std::accumulate(mSizes.begin(), mSizes.begin() + place, int64_t{0});
  mSizes.resize(at);
  mFirst = std::min(mFirst, at);
}

void MemoPolicy::SetAside() {
  mSizesAside = std::exchange(mSizes, {});
  mBytesAside = std::exchange(mBytes, 0);
  mFirst = 0;
}

void MemoPolicy::DropAside() {
  mSizesAside.clear();
  mBytesAside = 0;
}

void MemoPolicy::Join(int64_t from, int64_t to) {
  const auto begin = static_cast<size_t>(from);
  mSizes.resize(static_cast<size_t>(to), 0);
  for (size_t at = begin; at < mSizesAside.size(); ++at) {
    mSizes.push_back(mSizesAside[at]);
    mBytes += mSizesAside[at];
  }
  mFirst = std::min(mFirst, static_cast<size_t>(to));
  DropAside();
}

}  // namespace codec
