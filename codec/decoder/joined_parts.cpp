// SPDX-License-Identifier: MIT
#include "codec/decoder/joined_parts.h"

#include <algorithm>
#include <iterator>

namespace codec {
namespace {

bool Fits(const JoinedParts::Part& part, int64_t stamp) {
  constexpr int64_t kAround = 10000000;
  return part.begin - kAround <= stamp && stamp <= part.end + kAround;
}

}  // namespace

void PartLandings::Add(const PartLanding& landing) {
  if (!mLandings.empty() && landing.time < mLandings.back().time + mDistance) return;
  mLandings.push_back(landing);
  if (mLandings.size() < kMost) return;
  for (size_t i = 0; i < kMost / 2; ++i) mLandings[i] = mLandings[2 * i];
  mLandings.resize(kMost / 2);
  const auto kept = static_cast<int64_t>(mLandings.size());
  mDistance = std::max(mDistance, (mLandings.back().time - mLandings.front().time) / kept);
}

const PartLanding* PartLandings::AtOrBefore(int64_t time) const {
  const auto after = std::upper_bound(
      mLandings.begin(), mLandings.end(), time,
      [](int64_t wanted, const PartLanding& landing) { return wanted < landing.time; });
  return after == mLandings.begin() ? nullptr : &*std::prev(after);
}

void JoinedParts::AddLanding(int stream, const PartLanding& landing) {
  const auto index = static_cast<size_t>(stream);
  if (mLandings.size() <= index) mLandings.resize(index + 1);
  mLandings[index].Add(landing);
}

std::optional<int64_t> JoinedParts::End() const {
  if (mParts.empty()) return std::nullopt;
  return mParts.back().end + mParts.back().shift;
}

std::optional<int64_t> JoinedParts::LastPicture() const {
  if (mParts.empty() || mParts.back().lastPicture == INT64_MIN) return std::nullopt;
  return mParts.back().lastPicture + mParts.back().shift;
}

const JoinedParts::Part& JoinedParts::PartOf(int64_t position, int64_t stamp) const {
  auto part =
      std::upper_bound(mParts.begin(), mParts.end(), position,
                       [](int64_t wanted, const Part& each) { return wanted < each.position; });
  if (part != mParts.begin()) --part;
  if (Fits(*part, stamp)) return *part;
  if (part != mParts.begin() && Fits(*std::prev(part), stamp)) return *std::prev(part);
  const auto next = std::next(part);
  return next != mParts.end() && Fits(*next, stamp) ? *next : *part;
}

int64_t JoinedParts::Shift(int64_t position, int64_t stamp) const {
  return mParts.empty() ? 0 : PartOf(position, stamp).shift;
}

bool JoinedParts::LacksReferences(int64_t position, int64_t stamp) const {
  if (mParts.empty()) return false;
  const Part& part = PartOf(position, stamp);
  if (&part == &mParts.front() || position < part.position) return false;
  return position < part.keyPosition || stamp < part.keyTime;
}

const PartLanding* JoinedParts::LandingFor(int stream, int64_t time) const {
  const auto index = static_cast<size_t>(stream);
  return stream < 0 || index >= mLandings.size() ? nullptr : mLandings[index].AtOrBefore(time);
}

}  // namespace codec
