// SPDX-License-Identifier: MIT
// The memory of one job: its limit, and the plan that follows from the limit.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/decoder/decoder_options.h"
#include "reverse/memory_plan.h"
#include "reverse/segment_reader.h"

namespace codec {

// Makes the plan after the decoder has found the size of the pictures, and hands the plan to the
// parts of the job. Without a limit there is no plan, and each part keeps its own default.
class JobMemory {
 public:
  // Bytes that the process may take; the host may grant less. 0 for no limit.
  void SetLimit(int64_t bytes) { mLimit = bytes; }
  // Pixels of the output's pictures, if they differ from the input's.
  void SetOutputSize(int64_t pixels) { mOutputPixels = pixels; }

  // How the decoder is to be opened. The options refer to this object.
  DecoderOptions Options();
  // Sets what steps may take. To be called after the decoder was opened.
  void ApplyTo(ReverseRange* range) const;

  // If the input was refused for lack of memory: the bytes with which the next run is accepted (a
  // guess if there was no memory to probe the input), and the bytes that the job may have.
  // Otherwise both are 0.
  int64_t Needed() const { return mNeeded; }
  int64_t Granted() const { return mGranted; }

 private:
  std::optional<DecoderShare> ShareFor(const PictureFacts& facts);

  int64_t mLimit = 0;
  int64_t mOutputPixels = 0;
  std::optional<MemoryPlan> mPlan;
  int64_t mNeeded = 0;
  int64_t mGranted = 0;
};

}  // namespace codec
