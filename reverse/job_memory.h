// The memory of one job: its limit, and what follows from the limit.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/decoder/decoder_options.h"
#include "reverse/memory_plan.h"
#include "reverse/segment_reader.h"

namespace codec {

// Makes the plan when the decoder has found out what pictures there are, and hands it on to the
// parts of the job. Without a limit there is no plan, and each part keeps its own default.
class JobMemory {
 public:
  // Bytes that the process may take; the host may grant less. 0 for no limit.
  void SetLimit(int64_t bytes) { mLimit = bytes; }
  // Pixels of the output's pictures where they differ from the input's.
  void SetOutputSize(int64_t pixels) { mOutputPixels = pixels; }

  // How the decoder is to be opened. Refers to this object.
  DecoderOptions Options();
  // What steps may take, once the decoder is open.
  void ApplyTo(ReverseRange* range) const;

  // Bytes that a job needs whose input was refused for want of memory, and that it may have; both
  // 0 where this is not so.
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
