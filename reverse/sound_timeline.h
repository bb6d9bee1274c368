// SPDX-License-Identifier: MIT
// Lays blocks of sound on a time line that is walked backward.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace codec {

// All positions and lengths are in samples per channel. Position p is the time p / rate seconds.

// The part of the time line that is written.
struct SampleRange {
  int64_t first = 0;  // of its first sample
  int64_t end = 0;    // one past its last sample
  int rate = 0;       // samples a second

  // The samples at or after `start` and before `end`, both in seconds and within a microsecond.
  static SampleRange Of(double start, double end, int rate);
  // The position that is nearest to a stamp in seconds.
  int64_t At(double seconds) const;
  int64_t Samples() const { return end > first ? end - first : 0; }
};

// A block as the decoder delivers it.
struct SampleBlock {
  int64_t start = 0;    // position that its stamp gives to its first sample
  int64_t samples = 0;  // length
};

// A part of the output: of one block, or silence.
struct SoundPiece {
  static constexpr size_t kSilence = std::numeric_limits<size_t>::max();

  size_t block = kSilence;  // index among the blocks of the step
  int64_t first = 0;        // the block's earliest sample that is written; 0 for silence
  int64_t samples = 0;      // how many are written, newest first
};

// Decides which samples a backward walk writes, newest first. Sample i of the output belongs to
// position range.end - 1 - i, and the output has exactly range.Samples() samples.
//
//   position   first          cursor        edge                    end
//                |  to do       |  held back  |  written, newest first  |
//
// The edge is the position down to which samples were written. A block is placed like this:
//   1. If the last thing written was a block, and this block ends within 40 ms of the edge, the two
//      are contiguous: all of its samples follow, not one more or less.
//   2. Otherwise it is placed by its stamp. The hole above it is filled with silence. If it reaches
//      over the edge, the samples that do so are left out.
//   3. What lies outside of the range is left out, to the sample.
//
// Note: what a backward walk gives
//   Containers round stamps, to 1 ms in Matroska, and some clocks drift. Rule 1 keeps the samples
//   of a linear decode together all the same, and rule 2 brings back what moved too far. So a
//   sample is never more than 40 ms from the time of its stamp, on whichever side a walk begins.
//   Two results depend on the side. A walk keeps the error of the stamp that it was anchored at
//   last: a forward walk that of the first block, this one that of the last block before the end of
//   the range. And if blocks overlap, or leave a hole of less than 40 ms, a forward walk moves or
//   cuts the later block, this one the earlier. If stamps are exact and holes longer than 40 ms,
//   both walks write the same samples at the same positions.
//
// Note: silence waits
//   A block that begins before the cursor of a step may reach over the cursor. This block comes
//   with the next step. So silence is written only down to the last position at which such a block
//   can end. And no sum is carried along but the edge. So the output does not depend on how the
//   range is cut into steps.
//
// Used by one thread.
class SoundTimeline {
 public:
  // `reach`: how far, in samples, a block that comes with a later step may reach over the cursor of
  // a step. A longer block raises it. 0 promises that each block comes with the step it ends in.
  SoundTimeline(const SampleRange& range, int64_t reach);

  // Places the blocks of one step, given in the order of the stream, each block in one step only.
  // All blocks that begin at or after `cursor` have been given when this returns. The pieces are
  // in the order of writing and stay valid until the next call.
  const std::vector<SoundPiece>& Step(const std::vector<SampleBlock>& blocks, int64_t cursor);
  // No more blocks come: gives the silence down to the start of the range.
  const std::vector<SoundPiece>& Finish();

  // The position down to which samples were written.
  int64_t Edge() const { return mEdge; }
  bool IsDone() const { return mEdge <= mRange.first; }

 private:
  void Place(const SampleBlock& block, size_t index);
  void WriteSilence(int64_t downTo);

  const SampleRange mRange;
  const int64_t mTolerance;
  int64_t mReach;

  int64_t mEdge;
  bool mFollowsBlock = false;  // the last piece written is of a block
  std::vector<SoundPiece> mPieces;
};

}  // namespace codec
