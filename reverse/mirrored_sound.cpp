// SPDX-License-Identifier: MIT
#include "reverse/mirrored_sound.h"

#include <algorithm>
#include <cmath>

#include "codec/decoder/ffmpeg_decoder.h"
#include "reverse/audio_samples.h"
#include "reverse/stamp_rounding.h"

namespace codec {
namespace {

constexpr int kChannels = 2;
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
      mStart(start),
      mRange(SampleRange::Of(start, end, rate)),
      mTimeline(mRange, 0),
      mTop(end) {}

void MirroredSound::WriteDownTo(double seconds) {
  while (mTop > mStart && mTop > seconds) WriteNextSecond();
}

void MirroredSound::Finish() {
  WriteDownTo(mStart);
  mBlockNumbers.clear();
  WritePieces(mTimeline.Finish());
  if (mResampler == nullptr) return;
  mResampler->Finish(&mResampled);
  HandOver(mResampled.data(), static_cast<int64_t>(mResampled.size()) / kChannels);
}

// A block belongs to the second that it ends in. So a block is given once, however long the block
// is. And each block to come ends at about the start of this second, or earlier.
void MirroredSound::WriteNextSecond() {
  const double from = std::max(mTop - kSecondsAtOnce, mStart);
  // A failure of the host is kept by the reader, and ends the job. Its sound is silent.
  if (mReader->Read(from, mTop + kOverlap, &mStretch) != 0) mStretch.Clear();
  NoteLost(from);
  mBlockNumbers.clear();
  std::vector<SampleBlock> blocks;
  const size_t newOnes = CountNew();
  for (size_t i = 0; i < newOnes; ++i) {
    const StretchBlock& block = mStretch.blocks[i];
    if (block.time + static_cast<double>(block.samples) / mRange.rate <= from) continue;
    mBlockNumbers.push_back(i);
    blocks.push_back({mRange.At(block.time), block.samples});
  }
  UndoRounding(&blocks, mRange.rate);
  WritePieces(mTimeline.Step(blocks, mRange.At(from)));
  if (!blocks.empty()) mEarliest = mStretch.blocks[mBlockNumbers.front()].time;
  mTop = from;
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
    const double middle = block.time + static_cast<double>(block.samples) / mRange.rate / 2;
    return middle >= mEarliest;
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
    mAccount.lost += lost.seconds;
    mAccount.firstLost = std::min(mAccount.firstLost, lost.time);
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
    const StretchBlock& block = mStretch.blocks[mBlockNumbers[piece.block]];
    float* const samples =
        mStretch.samples.data() + block.offset + static_cast<size_t>(piece.first) * kChannels;
    const auto bytes = static_cast<uint32_t>(piece.samples * kChannels * sizeof(float));
    ReverseAudioSamples(reinterpret_cast<uint8_t*>(samples), bytes, kChannels, kPackedFloat);
    Write(samples, piece.samples);
  }
}

// A pause may be hours long; it is written in parts of a second.
void MirroredSound::WriteSilence(int64_t samples) {
  for (int64_t left = samples; left > 0;) {
    const int64_t part = std::min<int64_t>(left, mRange.rate);
    mSilence.resize(static_cast<size_t>(mRange.rate) * kChannels);
    Write(mSilence.data(), part);
    left -= part;
  }
}

void MirroredSound::Write(float* samples, int64_t count) {
  mWritten += count;
  if (mResampler == nullptr) {
    HandOver(samples, count);
    return;
  }
  mResampler->Convert(samples, count, &mResampled);
  HandOver(mResampled.data(), static_cast<int64_t>(mResampled.size()) / kChannels);
}

void MirroredSound::HandOver(float* samples, int64_t count) {
  constexpr int64_t kMicroseconds = 1000000;
  if (count == 0) return;
  const int64_t rate = mResampler == nullptr ? mRange.rate : mResampler->OutputRate();
  const int64_t stamp =
      mHandedOver / rate * kMicroseconds + mHandedOver % rate * kMicroseconds / rate;
  mWriter->WriteFrame(kAudioFrame, reinterpret_cast<uint8_t*>(samples),
                      static_cast<uint32_t>(count * kChannels * sizeof(float)), stamp);
  mHandedOver += count;
}

}  // namespace codec
