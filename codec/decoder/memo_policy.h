// SPDX-License-Identifier: MIT
// Decides which pictures are remembered. Counts bytes; knows nothing of media.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace codec {

// Pictures are known by their place. If not all fit, the pictures at the earliest places go: the
// next steps of a backward run ask for the pictures nearest the end of a walk. A group that does
// not fit is walked over m times; then this costs (m + 1) / 2 decodes a picture instead of m.
//
// Pictures of a later group can be set aside. They go first: the pictures of the present group
// serve more steps.
//
// Packets that are owed to the decoder count, too. They take up to half of the budget.
class MemoPolicy {
 public:
  // `budget` in bytes; 0 or less remembers nothing.
  explicit MemoPolicy(int64_t budget) : mBudget(budget) {}

  // Whether there is a budget at all.
  bool IsEnabled() const { return mBudget > 0; }

  // A picture of this size wants to be remembered at a place. Returns the places that have to lose
  // their pictures; this place may be one of them. To be called after CrowdsOutAside.
  std::vector<int64_t> Keep(int64_t place, int64_t bytes);
  // Whether the pictures set aside have to go before so many bytes can be kept.
  bool CrowdsOutAside(int64_t bytes) const { return mBytesAside > 0 && !Fits(bytes); }
  // The pictures from this place on are gone.
  void DropFrom(int64_t place);

  // All pictures are set aside. Not to be called while others are.
  void SetAside();
  // The pictures set aside are gone.
  void DropAside();
  // The pictures set aside from place `from` on become pictures of places from `to` on. The others
  // set aside are gone. Nothing may be kept from `to` on.
  void Join(int64_t from, int64_t to);

  // A packet is owed to the decoder. Returns as Keep does.
  std::vector<int64_t> Owe(int64_t bytes);
  // An owed packet of this size has been handed over.
  void Pay(int64_t bytes) { mBytesOwed -= bytes; }
  // Whether more may be owed.
  bool MayOwe() const { return mBytesOwed <= mBudget / 2; }

  // Bytes of all pictures and packets that are kept.
  int64_t Bytes() const { return mBytes + mBytesAside + mBytesOwed; }

 private:
  std::vector<int64_t> MakeRoom();
  bool Fits(int64_t bytes) const { return bytes <= mBudget - Bytes(); }

  const int64_t mBudget;
  int64_t mBytes = 0;
  int64_t mBytesAside = 0;
  int64_t mBytesOwed = 0;
  std::deque<int64_t> mSizes;  // by place; 0 if there are no pictures
  std::deque<int64_t> mSizesAside;
  size_t mFirst = 0;  // no earlier place has pictures
};

}  // namespace codec
