#include "codec/decoder/replay_policy.h"

#include <unistd.h>

#include <algorithm>

namespace codec {

size_t ReplayPolicy::Add(int64_t bytes) {
  mSizes.push_back(bytes);
  mBytes += bytes;
  return Fit();
}

size_t ReplayPolicy::Grow(int64_t bytes) {
  if (mSizes.empty()) return 0;
  mSizes.back() += bytes;
  mBytes += bytes;
  return Fit();
}

size_t ReplayPolicy::Fit() {
  size_t gone = 0;
  while (mBytes > mBudget && !mSizes.empty()) {
    mBytes -= mSizes.front();
    mBytesGone += mSizes.front();
    mSizes.pop_front();
    ++gone;
  }
  return gone;
}

void ReplayPolicy::RemoveNewest(size_t count) {
  for (; count > 0 && !mSizes.empty(); --count) {
    mBytes -= mSizes.back();
    mSizes.pop_back();
  }
}

void ReplayPolicy::Clear() {
  mSizes.clear();
  mBytes = 0;
  mBytesAside = 0;
  mBytesGone = 0;
}

void ReplayPolicy::SetAside() {
  mSizes.clear();
  mBytesAside = mBytes;
  mBytesGone = 0;
}

void ReplayPolicy::ReleaseAside() {
  mBytes -= mBytesAside;
  mBytesAside = 0;
}

int64_t DefaultReplayBudget() {
  constexpr int64_t kMost = int64_t{1} << 30;
  const int64_t memory =
      static_cast<int64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<int64_t>(sysconf(_SC_PAGESIZE));
  return std::clamp<int64_t>(memory / 8, 0, kMost);
}

}  // namespace codec
