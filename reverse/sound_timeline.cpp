// SPDX-License-Identifier: MIT
#include "reverse/sound_timeline.h"

#include <algorithm>
#include <cmath>

namespace codec {
namespace {

// People notice sound that leads or lags a picture by more than this.
constexpr int kToleranceMs = 40;

// Stamps are compared with the borders of the range within a microsecond.
constexpr double kStampError = 1e-6;

// Far beyond any clip. Sums and differences of a few positions fit 64 bits.
constexpr int64_t kFarthest = int64_t{1} << 60;

int64_t Bounded(double position) {
  if (std::isnan(position)) return 0;
  constexpr auto kLimit = static_cast<double>(kFarthest);
  return static_cast<int64_t>(std::clamp(position, -kLimit, kLimit));
}

int64_t Bounded(int64_t position) { return std::clamp(position, -kFarthest, kFarthest); }

}  // namespace

SampleRange SampleRange::Of(double start, double end, int rate) {
  const auto firstNotBefore = [rate](double seconds) {
    return Bounded(std::ceil((seconds - kStampError) * rate));
  };
  return {firstNotBefore(start), firstNotBefore(end), rate};
}

int64_t SampleRange::At(double seconds) const { return Bounded(std::round(seconds * rate)); }

SoundTimeline::SoundTimeline(const SampleRange& range, int64_t reach)
    : mRange(range),
      mTolerance(int64_t{range.rate} * kToleranceMs / 1000),
      mReach(reach),
      mEdge(std::max(range.first, range.end)) {}

const std::vector<SoundPiece>& SoundTimeline::Step(const std::vector<SampleBlock>& blocks,
                                                   int64_t cursor) {
  mPieces.clear();
  for (size_t i = blocks.size(); i-- > 0;) Place(blocks[i], i);
  // Blocks to come end at or before this position. If the edge is within the tolerance of it, such
  // a block may be contiguous with the last one, and there is no hole at all.
  const int64_t latestEnd = Bounded(cursor) + mReach;
  if (!mFollowsBlock || mEdge > latestEnd + mTolerance) WriteSilence(latestEnd);
  return mPieces;
}

const std::vector<SoundPiece>& SoundTimeline::Finish() {
  mPieces.clear();
  WriteSilence(mRange.first);
  return mPieces;
}

void SoundTimeline::Place(const SampleBlock& block, size_t index) {
  if (block.samples < 1) return;
  const int64_t length = Bounded(block.samples);
  if (mReach > 0) mReach = std::max(mReach, length);
  const int64_t start = Bounded(block.start);
  const int64_t end = start + length;
  const bool isContiguous = mFollowsBlock && std::abs(mEdge - end) <= mTolerance;
  if (!isContiguous) WriteSilence(end);
  // The first sample of the block goes here, or before the start of the range.
  const int64_t place = isContiguous ? mEdge - length : start;
  const int64_t from = std::max(place, mRange.first);
  if (from >= mEdge) return;
  mPieces.push_back({index, from - place, mEdge - from});
  mEdge = from;
  mFollowsBlock = true;
}

void SoundTimeline::WriteSilence(int64_t downTo) {
  const int64_t to = std::max(downTo, mRange.first);
  if (to >= mEdge) return;
  mPieces.push_back({SoundPiece::kSilence, 0, mEdge - to});
  mEdge = to;
  mFollowsBlock = false;
}

}  // namespace codec
