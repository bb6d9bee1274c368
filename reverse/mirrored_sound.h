// SPDX-License-Identifier: MIT
// The sound of a range, written backward beside its pictures.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "codec/decoder/sound_reader.h"
#include "codec/utils/sound_resampler.h"
#include "codec/writer/media_writer.h"
#include "reverse/account.h"
#include "reverse/sound_timeline.h"

namespace codec {

// Asks for the sound second by second, from the end of the range to its start, and gives the writer
// every sample of the range, reversed, and silence for the times without sound. The sound of a
// second is held in memory, the sound of the range never.
//
// The channels are those of the reader. Used by one thread. Reader, writer and resampler belong to
// the caller.
class MirroredSound {
 public:
  // The range is [start, end) in seconds; `rate` in samples a second, of the time line. The sound
  // passes through the resampler, opened for `rate`, on its way to the writer. The resampler may be
  // null if all sound comes at `rate`, and the writer takes this rate.
  MirroredSound(SoundReader* reader, MediaWriter* writer, double start, double end, int rate,
                SoundResampler* resampler = nullptr);

  // Writes the sound that a player plays at or after this time of the source, in seconds, down to a
  // second before it. What has been written is not written again.
  void WriteDownTo(double seconds);
  // Writes all that is left of the range.
  void Finish();

  // Samples of a channel that were written so far, before they are resampled.
  int64_t Written() const { return mWritten; }
  // The same in seconds, and what was lost of the seconds that were written.
  SoundAccount Account() const;

 private:
  void WriteNextSecond();
  size_t CountNew() const;
  void NoteLost(double from);
  void TakeBlocks(double from);
  int64_t LengthOnLine(const StretchBlock& block);
  void WritePieces(const std::vector<SoundPiece>& pieces);
  void WriteBlock(const StretchBlock& block, int64_t length, const SoundPiece& piece);
  void WriteSilence(int64_t samples);
  void Write(float* samples, int64_t count, int rate);
  void HandOver(float* samples, int64_t count);
  // Samples of a channel that the resampler gave last.
  int64_t Resampled() const { return static_cast<int64_t>(mResampled.size()) / mChannels; }
  uint32_t BytesOf(int64_t samples) const {
    return static_cast<uint32_t>(samples * mChannels * static_cast<int64_t>(sizeof(float)));
  }

  SoundReader* const mReader;
  MediaWriter* const mWriter;
  SoundResampler* const mResampler;
  const int mChannels;
  const double mStart;
  const SampleRange mRange;
  SoundTimeline mTimeline;

  double mTop;  // sound at or after this time, in seconds, has been read
  double mEarliest = std::numeric_limits<double>::infinity();  // start of the block taken last
  // Samples of the blocks taken since their rate changed last, and this rate.
  int64_t mTaken = 0;
  int mTakenRate = 0;
  // Samples of a channel: of the range, and of what the writer was given.
  int64_t mWritten = 0;
  int64_t mHandedOver = 0;
  SoundAccount mAccount;  // of what was lost

  SoundStretch mStretch;              // of the second being written
  std::vector<SampleBlock> mBlocks;   // given to the time line
  std::vector<size_t> mBlockNumbers;  // of these in mStretch
  std::vector<float> mSilence;        // zeros
  std::vector<float> mResampled;
};

}  // namespace codec
