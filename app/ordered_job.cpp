// SPDX-License-Identifier: MIT
#include "app/ordered_job.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "app/account_text.h"
#include "app/advice.h"
#include "app/codec_advice.h"
#include "app/like_source_order.h"
#include "base/guarded.h"
#include "base/log.h"
#include "codec/ffmpeg/error_text.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

std::unique_ptr<codec::Reverse> MakeJob(const Order& order) {
  auto job = std::make_unique<codec::Reverse>(order.input.c_str(), order.start, order.end,
                                              order.output.c_str());
  SwitchOnAdditions(order, job.get());
  DescribeOutput(order, job.get());
  return job;
}

// A range may hold something else than was meant, and is no error: the usage text speaks of
// milliseconds, and plainly reversed an end before the start leaves a file without pictures.
void WarnOfRange(const Order& order, const codec::Reverse& job) {
  constexpr double kUsualRounding = 1;
  const double duration = static_cast<double>(job.InputInfo().duration);
  if (order.start < 0) {
    log_warn(kTag, "%s %g lies before the start of the clip, where the range starts",
             order.names->start, order.start);
  }
  if (std::isfinite(order.end) && order.end > duration + kUsualRounding) {
    log_warn(
        kTag,
        "%s %g lies beyond the end of the clip at %.3f s, where the range ends; times are seconds",
        order.names->end, order.end, duration);
  }
  if (job.RangeSeconds() <= 0) {
    log_warn(kTag, "%s %g is not after the start at %g s; the output holds no pictures",
             order.names->end, order.end, order.start);
  }
}

// What was lost is told of jobs that are done, and of those that the loss has made a failure.
void LogAccount(const codec::Reverse& job) {
  if (job.Result() == 0) log_info(kTag, "%s", ReversedText(job.Account()).c_str());
  if (job.Result() != 0 && job.Failure().step != codec::FailedStep::kLoss) return;
  const std::string loss = LossText(job.Account());
  if (!loss.empty()) log_warn(kTag, "%s", loss.c_str());
}

}  // namespace

OrderedJob::OrderedJob(const Order& order) : mOrder(WithSourceKeys(order)), mJob(MakeJob(mOrder)) {}

OrderedJob::OrderedJob(Order order, std::unique_ptr<codec::Reverse> job)
    : mOrder(std::move(order)), mJob(std::move(job)) {}

int OrderedJob::Open(const Ask& ask) {
  mJob->SetKeepExisting(KeepsExisting(mOrder));
  mAdvice = WhyNotEncodable(mOrder);
  if (!mAdvice.empty()) return -1;
  mAdvice = WhyNotOverwritten(mOrder, ask);
  mMetExisting = !mAdvice.empty();
  if (mMetExisting) return -1;
  if (mJob->Init() != 0) {
    log_error(kTag, "Reverse init error");
    return Fail();
  }
  WarnOfRange(mOrder, *mJob);
  return 0;
}

int OrderedJob::Start() { return mJob->Start(); }

double OrderedJob::Percent() const {
  constexpr double kMostBeforeTheEnd = 99.9;
  const double done = static_cast<double>(mJob->GetProgress());
  return mJob->WaitForEnd(0) ? done : std::min(done, kMostBeforeTheEnd);
}

int OrderedJob::Finish() {
  mJob->Release();
  // The output is done: without memory for the account it is as good as with one.
  if (!mOrder.isPlain) but::Guarded(kTag, [this] { LogAccount(*mJob); });
  if (mJob->Result() == 0) return 0;
  // Nothing was wrong with the output of a job that has lost a part of its clip.
  if (mJob->Failure().step != codec::FailedStep::kLoss) {
    log_error(kTag, "could not write %s: %s", mOrder.output.c_str(),
              codec::ffmpeg::ErrorText(mJob->Result()).c_str());
  }
  return Fail();
}

int OrderedJob::Fail() {
  mAdvice = app::Advice(FailureOf(mOrder, *mJob));
  return -1;
}

}  // namespace app
