// SPDX-License-Identifier: MIT
#include "reverse/memory_plan.h"

#include <algorithm>
#include <cmath>

namespace codec {
namespace {

constexpr int64_t kMegabyte = int64_t{1} << 20;

// The margin: a sixteenth of the limit and some megabytes stay free. The kernel counts its own
// memory against a limit too, and the libraries' pages that are read from files need room to stay.
constexpr int64_t kMarginShare = 16;
constexpr int64_t kMarginBytes = 8 * kMegabyte;

// Bytes of the process that do not grow with the pictures: coders of sound, buffers of files,
// stacks, idle pages of the heap.
constexpr int64_t kBaseBytes = 12 * kMegabyte;

// In tenths of a packed picture. A decoder's picture has its motion vectors and modes beside it.
constexpr int64_t kHeldTenths = 14;      // each picture that the decoder holds
constexpr int64_t kDecoderPictures = 2;  // beside those: in the making, and just given out
constexpr int64_t kThreadTenths = 45;    // each further thread of the decoder
constexpr int64_t kHandTenths = 20;      // a picture being read, another being written
constexpr int64_t kWriterTenths = 50;    // the writer's buffers
constexpr int64_t kEncoderTenths = 120;  // the encoder's references and interpolated pictures
constexpr int64_t kFieldTenths = 100;    // the same of single fields

// Bytes a frame in the tables of muxer and demuxer, and frames of sound a second.
constexpr int64_t kIndexBytes = 256;
constexpr double kSoundFrames = 50;

constexpr int64_t kMostThreads = 16;
constexpr int64_t kMostBytesInFlight = 256 * kMegabyte;
constexpr int64_t kMostStepBytes = 2048 * kMegabyte;
constexpr int64_t kMostAheadBytes = 128 * kMegabyte;

// If neither header nor streams tell.
constexpr double kUsualFrameRate = 30;

int64_t Tenths(int64_t bytes, int64_t tenths) { return bytes / 10 * tenths; }

}  // namespace

MemoryPlan::MemoryPlan(const MemoryNeeds& needs) : mNeeds(needs) {
  // Room for pictures is worth more than threads: threads get at most a quarter of the room.
  const int64_t perThread = std::max<int64_t>(1, Tenths(needs.pictureBytes, kThreadTenths));
  const int64_t room = std::max<int64_t>(0, Left());
  mThreads = static_cast<int>(std::clamp<int64_t>(1 + room / 4 / perThread, 1, MostThreads()));
  Divide();
}

int64_t MemoryPlan::Usable(int64_t limit) { return limit - limit / kMarginShare - kMarginBytes; }

int64_t MemoryPlan::LimitFor(int64_t bytes) {
  const int64_t most = bytes + kMarginBytes;
  return most + most / (kMarginShare - 1) + 1;
}

int64_t MemoryPlan::DecoderBytes(int threads) const {
  return Tenths(mNeeds.pictureBytes, kHeldTenths * (mNeeds.picturesHeld + kDecoderPictures) +
                                         kThreadTenths * (threads - 1));
}

int64_t MemoryPlan::Fixed(int threads) const {
  const double frames = mNeeds.seconds * (mNeeds.frameRate + kSoundFrames);
  const auto index = static_cast<int64_t>(std::clamp(frames, 0.0, 1e9)) * kIndexBytes;
  return mNeeds.held + kBaseBytes + index + DecoderBytes(threads) +
         Tenths(mNeeds.pictureBytes, kHandTenths) + OutputBytes();
}

int64_t MemoryPlan::OutputBytes() const {
  const int64_t fields = mNeeds.hasFields ? kFieldTenths : 0;
  return Tenths(mNeeds.outputBytes, kWriterTenths + kEncoderTenths + fields);
}

int64_t MemoryPlan::Least() const { return LimitFor(Fixed(1) + mNeeds.pictureBytes); }

int64_t MemoryPlan::LeastForProbing() const {
  return LimitFor(mNeeds.held + kBaseBytes + DecoderBytes(1));
}

int MemoryPlan::MostThreads() const {
  const int64_t inFlight = kMostBytesInFlight / std::max<int64_t>(1, mNeeds.pictureBytes);
  return static_cast<int>(
      std::clamp<int64_t>(std::min<int64_t>(mNeeds.cores, inFlight), 1, kMostThreads));
}

// A step in one piece comes first, because each further part of a step decodes its group of
// pictures again. Replay comes next: it saves the same work between steps. Reading ahead gets a
// little.
void MemoryPlan::Divide() {
  const int64_t left = std::max<int64_t>(0, Left());
  const double rate = mNeeds.frameRate > 0 ? mNeeds.frameRate : kUsualFrameRate;
  const auto second =
      static_cast<int64_t>(std::ceil(std::min(rate, 1000.0)) + 1) * mNeeds.pictureBytes;
  mStepBytes = std::min(kMostStepBytes, std::max(std::min(left / 2, second), left / 4));
  mAheadBytes = std::min(kMostAheadBytes, left / 8);
  mReplayBytes =
      std::min(left - mStepBytes - mAheadBytes, std::max(mNeeds.limit / 8, mNeeds.usualReplay));
}

int64_t MemoryPlan::Total() const {
  return Fixed(mThreads) + mStepBytes + mAheadBytes + mReplayBytes;
}

}  // namespace codec
