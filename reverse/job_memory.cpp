// SPDX-License-Identifier: MIT
#include "reverse/job_memory.h"

#include <algorithm>

#include "base/host_limits.h"
#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";
constexpr int64_t kMegabyte = int64_t{1} << 20;

// Probing may take so much in any case: no run fits into less, and only after probing a refusal can
// tell what a run needs.
constexpr int64_t kForProbing = 64 * kMegabyte;

// What a header leaves open: what probing leaves with the process, and pictures that the decoder
// holds because of a level that only the stream tells. Enough for pictures of 8-bit 4:2:0.
constexpr int64_t kUnprobedBytes = 4 * kMegabyte;
constexpr int64_t kUnprobedPictures = 4;

// By how much what a process holds differs from run to run.
constexpr int64_t kDifference = kMegabyte;

// Rounded up.
long long Megabytes(int64_t bytes) { return (bytes + kMegabyte - 1) / kMegabyte; }

}  // namespace

DecoderOptions JobMemory::Options() {
  DecoderOptions options;
  if (mLimit > 0) options.shareFor = [this](const PictureFacts& facts) { return ShareFor(facts); };
  return options;
}

std::optional<DecoderShare> JobMemory::ShareFor(const PictureFacts& facts) {
  const but::HostLimits host;
  const int64_t pixels = static_cast<int64_t>(facts.width) * facts.height;
  MemoryNeeds needs;
  needs.limit = std::min(mLimit, host.MemoryBytes());
  needs.held = host.PrivateBytes();
  needs.pictureBytes = facts.bytes;
  needs.picturesHeld = facts.held;
  needs.outputBytes = (mOutputPixels > 0 ? mOutputPixels : pixels) * 3 / 2;
  needs.hasFields = facts.hasFields;
  needs.frameRate = facts.frameRate;
  needs.seconds = facts.seconds;
  needs.cores = host.Cores();
  needs.usualReplay = DefaultReplayBudget();
  mPlan.emplace(needs);
  log_verbose(
      kTag, "memory limit:%lld MB, threads:%d, step:%lld, ahead:%lld, replay:%lld, all:%lld",
      Megabytes(needs.limit), mPlan->Threads(), Megabytes(mPlan->StepBytes()),
      Megabytes(mPlan->AheadBytes()), Megabytes(mPlan->ReplayBytes()), Megabytes(mPlan->Total()));
  const int64_t forProbing = std::max(needs.limit, std::min(kForProbing, host.MemoryBytes()));
  const bool fits = facts.isProbed ? mPlan->Fits() : mPlan->LeastForProbing() <= forProbing;
  if (fits) return DecoderShare{mPlan->Threads(), mPlan->ReplayBytes()};
  // The next run is to fit into what this one asks for.
  mNeeded = mPlan->Least() + kDifference;
  if (!facts.isProbed) mNeeded += kUnprobedBytes + kUnprobedPictures * facts.bytes;
  mGranted = needs.limit;
  log_error(kTag, "pictures of %dx%d need %lld MB of memory, there are %lld MB", facts.width,
            facts.height, Megabytes(mNeeded), static_cast<long long>(mGranted / kMegabyte));
  return std::nullopt;
}

void JobMemory::ApplyTo(ReverseRange* range) const {
  if (!mPlan) return;
  range->stepBytes = mPlan->StepBytes();
  range->aheadBytes = mPlan->AheadBytes();
}

}  // namespace codec
