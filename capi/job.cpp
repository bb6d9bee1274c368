// SPDX-License-Identifier: MIT
#include "capi/job.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

#include "capi/job_options.h"
#include "codec/ffmpeg/versions.h"

namespace capi {
namespace {

using codec::FailedStep;

// By the number of the step.
constexpr std::array kCodes = {
    CLIPREVERSE_ERROR_OUTPUT,     // kNone: refused before anything was opened
    CLIPREVERSE_ERROR_OUTPUT,     // kSameFile
    CLIPREVERSE_ERROR_INPUT,      // kOpenInput
    CLIPREVERSE_ERROR_MEMORY,     // kMemory
    CLIPREVERSE_ERROR_INPUT,      // kReadFacts
    CLIPREVERSE_ERROR_OPTION,     // kCopy
    CLIPREVERSE_ERROR_RANGE,      // kCheckRange
    CLIPREVERSE_ERROR_OUTPUT,     // kOpenOutput
    CLIPREVERSE_ERROR_HOST,       // kStart
    CLIPREVERSE_ERROR_INPUT,      // kReadInput
    CLIPREVERSE_ERROR_RANGE,      // kReadRange
    CLIPREVERSE_ERROR_RANGE,      // kReadFirst
    CLIPREVERSE_ERROR_HOST,       // kHost
    CLIPREVERSE_ERROR_LOSS,       // kLoss
    CLIPREVERSE_ERROR_OUTPUT,     // kWriteOutput
    CLIPREVERSE_ERROR_CANCELLED,  // kCancel
};
static_assert(kCodes.size() == static_cast<size_t>(FailedStep::kCancel) + 1);

int CodeOf(const codec::JobFailure& failure) {
  if (failure.error == -ENOMEM) return CLIPREVERSE_ERROR_MEMORY;
  if (failure.error == -EEXIST) return CLIPREVERSE_ERROR_EXISTS;
  return kCodes.at(static_cast<size_t>(failure.step));
}

struct Figure {
  const char* name;
  double (*get)(const codec::Reverse& job, double percent);
};

constexpr std::array kFigures = {
    Figure{"percent", [](const codec::Reverse&, double percent) { return percent; }},
    Figure{"range",
           [](const codec::Reverse& job, double) { return std::max(job.RangeSeconds(), 0.0); }},
    Figure{"position",
           [](const codec::Reverse& job, double percent) {
             return std::max(job.RangeSeconds(), 0.0) * percent / 100;
           }},
    Figure{"bytes", [](const codec::Reverse& job,
                       double) { return static_cast<double>(job.BytesWritten()); }},
    Figure{"width", [](const codec::Reverse& job, double) { return 1.0 * job.InputInfo().width; }},
    Figure{"height",
           [](const codec::Reverse& job, double) { return 1.0 * job.InputInfo().height; }},
    Figure{"frame-rate", [](const codec::Reverse& job,
                            double) { return static_cast<double>(job.InputInfo().frame_rate); }},
    Figure{"duration", [](const codec::Reverse& job,
                          double) { return static_cast<double>(job.InputInfo().duration); }},
    Figure{"memory-needed", [](const codec::Reverse& job,
                               double) { return static_cast<double>(job.MemoryNeeded()); }},
};

// Those that are known after the end.
struct AccountFigure {
  const char* name;
  double (*get)(const codec::JobAccount& account);
};

constexpr std::array kAccountFigures = {
    AccountFigure{"pictures",
                  [](const codec::JobAccount& a) { return static_cast<double>(a.pictures); }},
    AccountFigure{"lost-pictures",
                  [](const codec::JobAccount& a) { return static_cast<double>(a.lost.Count()); }},
    AccountFigure{"sound", [](const codec::JobAccount& a) { return a.sound.written; }},
    AccountFigure{"lost-sound", [](const codec::JobAccount& a) { return a.sound.lost; }},
    AccountFigure{
        "missing-bytes",
        [](const codec::JobAccount& a) { return static_cast<double>(a.input.Missing()); }},
    AccountFigure{
        "first-loss",
        [](const codec::JobAccount& a) { return std::min(a.lost.first, a.sound.firstLost); }},
};

// Null if there is none of this name.
template <typename Figures>
auto Find(const Figures& figures, std::string_view name) -> decltype(figures.data()) {
  for (const auto& figure : figures) {
    if (name == figure.name) return &figure;
  }
  return nullptr;
}

}  // namespace

Job::Job() { mOrder.names = &app::kJobNames; }

int Job::CheckDescribing() {
  if (mRun == nullptr) return CLIPREVERSE_OK;
  return Fail(CLIPREVERSE_ERROR_STATE, "the job has been started; make another one");
}

int Job::SetInput(const char* path) {
  if (const int code = CheckDescribing(); code != CLIPREVERSE_OK) return code;
  mOrder.input = path;
  return CLIPREVERSE_OK;
}

int Job::SetOutput(const char* path) {
  if (const int code = CheckDescribing(); code != CLIPREVERSE_OK) return code;
  mOrder.output = path;
  return CLIPREVERSE_OK;
}

int Job::SetRange(double start, double end) {
  if (const int code = CheckDescribing(); code != CLIPREVERSE_OK) return code;
  if (std::isnan(start) || std::isnan(end)) {
    return Fail(CLIPREVERSE_ERROR_ARGUMENT, "start and end have to be numbers of seconds");
  }
  mOrder.start = start;
  mOrder.end = end;
  return CLIPREVERSE_OK;
}

int Job::SetOption(const char* key, const char* value) {
  if (const int code = CheckDescribing(); code != CLIPREVERSE_OK) return code;
  std::string reason = capi::SetOption(key, value, &mOrder);
  return reason.empty() ? CLIPREVERSE_OK : Fail(CLIPREVERSE_ERROR_OPTION, std::move(reason));
}

int Job::SetProgress(clipreverse_progress_callback callback, void* user) {
  mProgress = callback;
  mUser = user;
  return CLIPREVERSE_OK;
}

int Job::Start() {
  if (const int code = CheckDescribing(); code != CLIPREVERSE_OK) return code;
  if (mOrder.input.empty()) return Fail(CLIPREVERSE_ERROR_STATE, "no input is set");
  if (mOrder.output.empty()) return Fail(CLIPREVERSE_ERROR_STATE, "no output is set");
  std::string reason = app::WhyNotTogether(mOrder.outputValues, *mOrder.names);
  if (!reason.empty()) return Fail(CLIPREVERSE_ERROR_OPTION, std::move(reason));
  if (codec::ffmpeg::CheckVersions(codec::ffmpeg::LibraryVersions()) != 0) {
    return Fail(CLIPREVERSE_ERROR_HOST, "the library was built for another release of FFmpeg");
  }
  mRun = std::make_unique<app::OrderedJob>(mOrder);
  mRun->Job()->SetDiscardCancelled(true);
  // Plain jobs may run beside others, too.
  mRun->Job()->SetIndependent(true);
  mCancellable = mRun->Job();
  if (mIsCancelled) mRun->Job()->Cancel();
  // Until it is known how the job ends: an exception leaves it over, too.
  mEnd = CLIPREVERSE_ERROR_MEMORY;
  if (mRun->Open(nullptr) != 0) return FailAsRun();
  if (mRun->Start() != 0) return Finish();
  mEnd.reset();
  return CLIPREVERSE_OK;
}

int Job::Wait(int milliseconds) {
  if (mRun == nullptr) return Fail(CLIPREVERSE_ERROR_STATE, "the job has not been started");
  if (mIsTelling) return Fail(CLIPREVERSE_ERROR_STATE, "a callback cannot wait for its own job");
  if (mEnd.has_value()) return *mEnd;
  return WaitInSteps(milliseconds) ? Finish() : CLIPREVERSE_RUNNING;
}

// Whether the work is over.
bool Job::WaitInSteps(int milliseconds) {
  using Clock = std::chrono::steady_clock;
  constexpr int64_t kStep = 200;
  const Clock::time_point begin = Clock::now();
  while (true) {
    // What is over is told of when it is known how.
    const double percent = Percent();
    if (mRun->Job()->WaitForEnd(0)) return true;
    Tell(percent);
    const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    const int64_t left =
        milliseconds < 0 ? kStep : std::max<int64_t>(0, milliseconds - passed.count());
    if (mRun->Job()->WaitForEnd(static_cast<int>(std::min(left, kStep)))) return true;
    if (left == 0) return false;
  }
}

void Job::Tell(double percent) {
  if (mProgress == nullptr) return;
  // Reset if the callback throws, too.
  struct Telling {
    explicit Telling(bool* is) : mIs(is) { *mIs = true; }
    ~Telling() { *mIs = false; }
    bool* const mIs;
  };
  const Telling telling(&mIsTelling);
  mProgress(mUser, percent);
}

// The work's own number is 100 after a failure, too, and is gone once the output is closed.
double Job::Percent() const {
  if (!mEnd.has_value()) return mRun->Percent();
  return *mEnd == CLIPREVERSE_OK ? 100 : 0;
}

int Job::Finish() {
  // Stays if the next call throws: the job has ended then, without a result.
  mEnd = CLIPREVERSE_ERROR_MEMORY;
  if (mRun->Finish() != 0) return FailAsRun();
  mEnd = CLIPREVERSE_OK;
  Tell(Percent());
  return CLIPREVERSE_OK;
}

int Job::FailAsRun() {
  const int code =
      mRun->MetExisting() ? int{CLIPREVERSE_ERROR_EXISTS} : CodeOf(mRun->Job()->Failure());
  mEnd = code;
  return Fail(code, mRun->Advice());
}

void Job::Cancel() {
  mIsCancelled = true;
  if (codec::Reverse* const job = mCancellable) job->Cancel();
}

int Job::Get(const char* name, double* value) {
  const auto* const figure = Find(kFigures, name);
  const auto* const ofAccount = Find(kAccountFigures, name);
  if (figure == nullptr && ofAccount == nullptr) {
    return Fail(CLIPREVERSE_ERROR_OPTION, std::string("a job knows no number ") + name);
  }
  *value = 0;
  if (mRun == nullptr) return CLIPREVERSE_OK;
  if (figure != nullptr) *value = figure->get(*mRun->Job(), Percent());
  // The work writes the account until the end.
  if (ofAccount != nullptr && mEnd.has_value()) *value = ofAccount->get(mRun->Job()->Account());
  return CLIPREVERSE_OK;
}

int Job::Fail(int code, std::string text) {
  mError = code;
  mText = std::move(text);
  mBrief = nullptr;
  return code;
}

int Job::FailBriefly(int code, const char* text) noexcept {
  mError = code;
  mBrief = text;
  return code;
}

}  // namespace capi
