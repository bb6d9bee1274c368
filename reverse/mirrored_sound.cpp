// SPDX-License-Identifier: MIT
#include "reverse/mirrored_sound.h"

#include <algorithm>
#include <cmath>

#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "reverse/audio_samples.h"
#include "reverse/stamp_rounding.h"

namespace codec {
namespace {

constexpr int kPackedFloat = 3;  // FFmpeg's number

// A second of sound takes less than a megabyte, and holds several blocks of most codecs.
constexpr double kSecondsAtOnce = 1.0;

// A reading reaches this much into the second before, to meet a block that was taken there.
constexpr double kOverlap = 0.05;

}  // namespace

MirroredSound::MirroredSound(SoundReader* reader, MediaWriter* writer, double start, double end,
                             int rate, SoundResampler* resampler)
    : mReader(reader),
      mWriter(writer),
      mResampler(resampler),
      mChannels(reader->Channels()),
      mStart(start),
      mRange(SampleRange::Of(start, end, rate)),
      mTimeline(mRange, 0),
      mTop(end) {}

void MirroredSound::WriteDownTo(double seconds) {
  while (mTop > mStart && mTop > seconds) WriteNextSecond();
}

void MirroredSound::Finish() {
  WriteDownTo(mStart);
  WritePieces(mTimeline.Finish());
  if (mResampler == nullptr) return;
  mResampler->Finish(&mResampled);
  HandOver(mResampled.data(), Resampled());
}

// A block belongs to the second that it ends in. So a block is given once, however long the block
// is. And each block to come ends at about the start of this second, or earlier.
void MirroredSound::WriteNextSecond() {
  const double from = std::max(mTop - kSecondsAtOnce, mStart);
  // A failure of the host is kept by the reader, and ends the job. Its sound is silent.
  if (mReader->Read(from, mTop + kOverlap, &mStretch) != 0) mStretch.Clear();
  NoteLost(from);
  TakeBlocks(from);
  UndoRounding(&mBlocks, mRange.rate);
  WritePieces(mTimeline.Step(mBlocks, mRange.At(from)));
  if (!mBlocks.empty()) mEarliest = mStretch.blocks[mBlockNumbers.front()].time;
  mTop = from;
}

// Newest first, so that lengths add up over all readings.
void MirroredSound::TakeBlocks(double from) {
  mBlockNumbers.clear();
  mBlocks.clear();
  for (size_t i = CountNew(); i-- > 0;) {
    const StretchBlock& block = mStretch.blocks[i];
    if (block.time + block.Seconds() <= from) continue;
    mBlockNumbers.push_back(i);
    mBlocks.push_back({mRange.At(block.time), LengthOnLine(block)});
  }
  std::reverse(mBlockNumbers.begin(), mBlockNumbers.end());
  std::reverse(mBlocks.begin(), mBlocks.end());
}

// At the rate of the line a block of another rate does not last for whole samples. So the lengths
// are rounded such that those of all such blocks in turn are right.
int64_t MirroredSound::LengthOnLine(const StretchBlock& block) {
  if (block.rate != mTakenRate) mTaken = 0;
  mTakenRate = block.rate;
  const int64_t before = av_rescale(mTaken, mRange.rate, block.rate);
  mTaken += block.samples;
  return av_rescale(mTaken, mRange.rate, block.rate) - before;
}

// The blocks before the one that was taken last are new. Stamps may overlap by half a block, as
// those of Vorbis in Ogg do. So the order of the stream counts. Times count only if the block that
// was taken last is missing.
size_t MirroredSound::CountNew() const {
  constexpr double kSame = 1e-6;
  const auto isTaken = [this](const StretchBlock& block) {
    return std::abs(block.time - mEarliest) < kSame;
  };
  const auto isLater = [this](const StretchBlock& block) {
    return block.time + block.Seconds() / 2 >= mEarliest;
  };
  const auto begin = mStretch.blocks.begin();
  const auto end = mStretch.blocks.end();
  auto first = std::find_if(begin, end, isTaken);
  if (first == end) first = std::find_if(begin, end, isLater);
  return static_cast<size_t>(first - begin);
}

// A packet belongs to the second that it begins in.
void MirroredSound::NoteLost(double from) {
  for (const LostSound& lost : mStretch.lost) {
    if (lost.time < from || lost.time >= mTop) continue;
    mAccount.Lose(lost.time, lost.seconds);
  }
}

SoundAccount MirroredSound::Account() const {
  SoundAccount account = mAccount;
  account.written = static_cast<double>(mWritten) / mRange.rate;
  return account;
}

void MirroredSound::WritePieces(const std::vector<SoundPiece>& pieces) {
  for (const SoundPiece& piece : pieces) {
    if (piece.block == SoundPiece::kSilence) {
      WriteSilence(piece.samples);
      continue;
    }
    WriteBlock(mStretch.blocks[mBlockNumbers[piece.block]], mBlocks[piece.block].samples, piece);
  }
}

// The piece is a part of the block's length on the line.
void MirroredSound::WriteBlock(const StretchBlock& block, int64_t length, const SoundPiece& piece) {
  const int64_t first = av_rescale(piece.first, block.samples, length);
  const int64_t count = av_rescale(piece.first + piece.samples, block.samples, length) - first;
  float* const samples =
      mStretch.samples.data() + block.offset + static_cast<size_t>(first * mChannels);
  const auto bytes = BytesOf(count);
  ReverseAudioSamples(reinterpret_cast<uint8_t*>(samples), bytes, mChannels, kPackedFloat);
  mWritten += piece.samples;
  Write(samples, count, block.rate);
}

// A pause may be hours long; it is written in parts of a second.
void MirroredSound::WriteSilence(int64_t samples) {
  mWritten += samples;
  for (int64_t left = samples; left > 0;) {
    const int64_t part = std::min<int64_t>(left, mRange.rate);
    mSilence.resize(static_cast<size_t>(mRange.rate) * static_cast<size_t>(mChannels));
    Write(mSilence.data(), part, mRange.rate);
    left -= part;
  }
}

void MirroredSound::Write(float* samples, int64_t count, int rate) {
  if (mResampler != nullptr && mResampler->InputRate() != rate) {
    mResampler->ChangeInputRate(rate, &mResampled);
    HandOver(mResampled.data(), Resampled());
  }
  if (mResampler == nullptr || mResampler->PassesThrough()) {
    HandOver(samples, count);
    return;
  }
  mResampler->Convert(samples, count, &mResampled);
  HandOver(mResampled.data(), Resampled());
}

void MirroredSound::HandOver(float* samples, int64_t count) {
  constexpr int64_t kMicroseconds = 1000000;
  if (count == 0) return;
  const int64_t rate = mResampler == nullptr ? mRange.rate : mResampler->OutputRate();
  const int64_t stamp =
      mHandedOver / rate * kMicroseconds + mHandedOver % rate * kMicroseconds / rate;
  mWriter->WriteFrame(kAudioFrame, reinterpret_cast<uint8_t*>(samples), BytesOf(count), stamp);
  mHandedOver += count;
}

}  // namespace codec
