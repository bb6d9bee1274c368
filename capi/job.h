// SPDX-License-Identifier: MIT
// The job of the C interface, before exceptions and null pointers are looked at.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "app/order.h"
#include "app/ordered_job.h"
#include "include/clipreverse.h"

namespace capi {

// Collects an order, runs it once, and keeps what the last failure was. Operations that give an int
// give a clipreverse_code and may throw. One thread at a time, but for Cancel.
class Job {
 public:
  Job();

  int SetInput(const char* path);
  int SetOutput(const char* path);
  int SetRange(double start, double end);
  int SetOption(const char* key, const char* value);
  int SetProgress(clipreverse_progress_callback callback, void* user);

  int Start();
  int Wait(int milliseconds);
  // For any thread, and for handlers of signals.
  void Cancel();

  int Get(const char* name, double* value);

  // Keeps the code and the text of a failure. The code.
  int Fail(int code, std::string text);
  // The same for when there is no memory; `text` is static.
  int FailBriefly(int code, const char* text) noexcept;
  // Of the last failure; it stays if later calls succeed.
  int Error() const { return mError; }
  const char* ErrorText() const { return mBrief != nullptr ? mBrief : mText.c_str(); }

 private:
  // CLIPREVERSE_OK before Start, which leaves nothing to describe.
  int CheckDescribing();
  bool WaitInSteps(int milliseconds);
  void Tell(double percent);
  double Percent() const;
  int Finish();
  int FailAsRun();

  app::Order mOrder;
  clipreverse_progress_callback mProgress = nullptr;
  void* mUser = nullptr;
  std::unique_ptr<app::OrderedJob> mRun;  // from Start on
  std::optional<int> mEnd;                // how the run has ended
  bool mIsTelling = false;                // the progress callback goes on

  int mError = CLIPREVERSE_OK;
  std::string mText;
  const char* mBrief = nullptr;  // in place of the text

  // For any thread. Of the two that set and read both, one sees what the other has set.
  std::atomic<codec::Reverse*> mCancellable{nullptr};
  std::atomic<bool> mIsCancelled{false};
};

}  // namespace capi
