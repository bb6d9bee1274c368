// Decides which pictures are remembered. Counts bytes; knows nothing of media.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace codec {

// Pictures are known by their place. If not all fit, those at the earliest places go: the next
// steps of a backward run ask for what is nearest the end of a walk. If a whole group of pictures
// does not fit, m passes over it then cost (m + 1) / 2 decodes a picture instead of m.
//
// Pictures of a later group can be set aside. They are the first to go: what is remembered now
// serves more steps.
//
// Packets that are only owed to the decoder are kept too, and take up to half of the budget. All
// else has the rest.
class MemoPolicy {
 public:
  // `budget` in bytes; 0 or less remembers nothing.
  explicit MemoPolicy(int64_t budget) : mBudget(budget) {}

  // Whether there is a budget at all.
  bool IsEnabled() const { return mBudget > 0; }

  // A picture of this size wants to be remembered at a place. Returns the places that have to lose
  // their pictures, which may be that place too. Asks first whether those set aside have to go.
  std::vector<int64_t> Keep(int64_t place, int64_t bytes);
  // Whether those set aside have to go before such a picture can be kept.
  bool CrowdsOutAside(int64_t bytes) const { return mBytesAside > 0 && !Fits(bytes); }
  // The pictures from this place on are gone.
  void DropFrom(int64_t place);

  // All pictures are set aside. Not while others are.
  void SetAside();
  // Those set aside are gone.
  void DropAside();
  // Of those set aside, the ones from place `from` on become pictures of place `to` and on; the
  // others are gone. Nothing is kept at `to` or behind it.
  void Join(int64_t from, int64_t to);

  // A packet is owed to the decoder. Returns as Keep does.
  std::vector<int64_t> Owe(int64_t bytes);
  // It has been handed over.
  void Pay(int64_t bytes) { mBytesOwed -= bytes; }
  // Whether more may be owed.
  bool MayOwe() const { return mBytesOwed <= mBudget / 2; }

  // Of all that is kept.
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
