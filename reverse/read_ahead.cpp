// SPDX-License-Identifier: MIT
#include "reverse/read_ahead.h"

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

// A limit for small pictures, so that the memory of a run does not depend on its length.
constexpr size_t kMostSteps = 4;
// Even the smallest frame takes a page and a mapping, and a process has few mappings.
constexpr size_t kMostFrames = 4096;

}  // namespace

ReadAhead::~ReadAhead() {
  if (!HasThread()) return;
  {
    const but::HeldLock held(&mMutex);
    mIsStopping = true;
  }
  mChanged.notify_all();
  mStock->LiftLimit();
  Join();
}

Segment ReadAhead::Next() {
  if (!HasReader()) {
    mStock->LiftLimit();
    return mReader->Next();
  }
  but::HeldLock held(&mMutex);
  // The step that is being read may need more buffers than fit beside the step before.
  if (mReady.empty()) mStock->LiftLimit();
  while (mReady.empty() && mThrown == nullptr) mChanged.wait(held);
  if (mReady.empty()) std::rethrow_exception(mThrown);
  Segment segment = std::move(mReady.front());
  mReady.pop_front();
  LimitBeside(segment);
  held.unlock();
  mChanged.notify_all();
  return segment;
}

bool ReadAhead::HasReader() {
  if (HasThread()) return true;
  Start();
  if (!HasThread()) log_warn(kTag, "no thread for the next step, reading it in turn");
  return HasThread();
}

void ReadAhead::Run() {
  try {
    ReadSteps();
  } catch (...) {
    const but::HeldLock held(&mMutex);
    mThrown = std::current_exception();
  }
  mChanged.notify_all();
}

void ReadAhead::ReadSteps() {
  while (mReader->HasMore()) {
    Segment segment = mReader->Next();
    but::HeldLock held(&mMutex);
    mReady.push_back(std::move(segment));
    mChanged.notify_all();
    if (!mReader->HasMore()) break;
    while (!mIsStopping && !HasRoom()) mChanged.wait(held);
    if (mIsStopping) return;
  }
  // Now, while the last steps are written: this keeps less than two cores busy.
  mReader->Finish();
}

// Whether one more step like the last one fits. Called by the thread that has the reader.
bool ReadAhead::HasRoom() const {
  if (mReady.empty()) return true;
  int64_t taken = mReady.back().bytes;
  size_t frames = mReady.back().frames.size();
  for (const Segment& segment : mReady) {
    taken += segment.bytes;
    frames += segment.frames.size();
  }
  return mReady.size() < kMostSteps && frames <= kMostFrames && taken <= mMostBytes;
}

// Steps that are read while the caller has this one may use `mMostBytes` and the buffers given
// back.
void ReadAhead::LimitBeside(const Segment& step) {
  const auto pictures = std::count_if(step.frames.begin(), step.frames.end(),
                                      [](const auto& frame) { return frame->type == kVideoFrame; });
  if (pictures == 0) return;
  const int64_t ahead = mMostBytes / std::max<int64_t>(step.pictureBytes, 1);
  mStock->Limit(static_cast<size_t>(pictures + ahead + 1));
}

}  // namespace codec
