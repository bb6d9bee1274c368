// SPDX-License-Identifier: MIT
// How a run divides the memory that it may take.
#pragma once

#include <cstdint>

namespace codec {

// The input of a plan. Sizes in bytes; 0 stands for unknown.
struct MemoryNeeds {
  int64_t limit = 0;         // that the process may take in all
  int64_t held = 0;          // that it has taken so far, after the input was opened
  int64_t pictureBytes = 0;  // of one packed picture of the input
  int picturesHeld = 0;      // by the decoder, beside the present one
  int64_t outputBytes = 0;   // of one packed picture of the output
  bool hasFields = false;    // whether the output's pictures may be interlaced
  double frameRate = 0;      // frames per second
  double seconds = 0;        // length of the output
  int cores = 1;             // that may be used at once
  int64_t usualReplay = 0;   // budget for replay that is enough under any limit
};

// Works out what the parts of a run get. Counts bytes; knows nothing of media or of the host. The
// numbers of the model are measured: a table in docs/performance.md compares them with runs.
class MemoryPlan {
 public:
  explicit MemoryPlan(const MemoryNeeds& needs);

  // Whether the limit holds at least the smallest plan: one decoder thread, steps of one picture,
  // nothing kept for replay.
  bool Fits() const { return Least() <= mNeeds.limit; }
  // The smallest limit that the smallest plan fits into.
  int64_t Least() const;

  // The smallest limit in which the input's streams can be probed. Probing decodes pictures, but no
  // other part of the run exists yet.
  int64_t LeastForProbing() const;

  // Threads of the video decoder, at least 1.
  int Threads() const { return mThreads; }
  // Bytes of decoded pictures kept between the steps; may be 0.
  int64_t ReplayBytes() const { return mReplayBytes; }
  // Bytes of frames that are read before they are asked for; may be 0.
  int64_t AheadBytes() const { return mAheadBytes; }
  // Bytes of the frames of one step, or of a part of one; may be 0.
  int64_t StepBytes() const { return mStepBytes; }

  // Bytes that the process takes at most by the model, which is below the limit by the margin.
  int64_t Total() const;

 private:
  // The bytes of a limit that the process may use itself, and the limit for so many bytes.
  static int64_t Usable(int64_t limit);
  static int64_t LimitFor(int64_t bytes);
  int64_t DecoderBytes(int threads) const;
  int64_t OutputBytes() const;
  // Bytes that the process takes before any picture is kept.
  int64_t Fixed(int threads) const;
  int64_t Left() const { return Usable(mNeeds.limit) - Fixed(mThreads); }
  int MostThreads() const;
  void Divide();

  const MemoryNeeds mNeeds;
  int mThreads = 1;
  int64_t mReplayBytes = 0;
  int64_t mAheadBytes = 0;
  int64_t mStepBytes = 0;
};

}  // namespace codec
