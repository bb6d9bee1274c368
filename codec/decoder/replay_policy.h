// Decides how much of a walk is kept for replay. Counts bytes; knows nothing of media.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

namespace codec {

// Entries come in decode order and the oldest ones go first: the next steps of a backward run ask
// for what is nearest the end of the walk. Where a whole group of pictures does not fit, m passes
// over it then cost (m + 1) / 2 decodes a picture instead of m.
class ReplayPolicy {
 public:
  // `budget` in bytes; 0 or less keeps nothing.
  explicit ReplayPolicy(int64_t budget) : mBudget(budget) {}

  // Whether there is a budget at all.
  bool IsEnabled() const { return mBudget > 0; }

  // An entry of this size was added behind all others. Returns how many of the oldest entries must
  // go, which may be all of them.
  size_t Add(int64_t bytes);
  // The same for the newest entry, which grew by this size.
  size_t Grow(int64_t bytes);
  // The newest `count` entries are given up.
  void RemoveNewest(size_t count);
  // All entries are given up, those set aside too.
  void Clear();

  // The entries of now stay until they are released, whatever is added, and are counted with what
  // is. Not while others are set aside.
  void SetAside();
  void ReleaseAside();

  // Whether so many bytes more fit without any entry's going.
  bool Fits(int64_t bytes) const { return bytes <= mBudget - mBytes; }
  // Whether all entries that had to go since the last Clear or SetAside would fit beside those that
  // are left.
  bool FitsWhatWent() const { return mBytesGone <= mBudget - mBytes; }

  // Of all entries that are kept.
  int64_t Bytes() const { return mBytes; }

 private:
  size_t Fit();

  const int64_t mBudget;
  int64_t mBytes = 0;  // those set aside included
  int64_t mBytesAside = 0;
  int64_t mBytesGone = 0;
  std::deque<int64_t> mSizes;
};

// The default budget in bytes: the smaller of 1 GiB and an eighth of the machine's memory.
int64_t DefaultReplayBudget();

}  // namespace codec
