// SPDX-License-Identifier: MIT
#include "app/run_driver.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "app/account_text.h"
#include "app/advice.h"
#include "app/codec_advice.h"
#include "app/like_source_line.h"
#include "app/overwrite.h"
#include "app/progress_lines.h"
#include "base/guarded.h"
#include "base/log.h"
#include "base/platform.h"
#include "codec/ffmpeg/compat.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

Progress ProgressOf(codec::Reverse* job) {
  Progress progress;
  progress.percent = static_cast<double>(job->GetProgress());
  progress.range = std::max(job->RangeSeconds(), 0.0);
  progress.position = progress.range * progress.percent / 100;
  progress.bytes = job->BytesWritten();
  return progress;
}

// A range may hold something else than was meant, and is no error: the usage text speaks of
// milliseconds, and an end before the start leaves a file without pictures.
void WarnOfRange(const CommandLine& line, const codec::Reverse& job) {
  constexpr double kUsualRounding = 1;
  const double duration = static_cast<double>(job.InputInfo().duration);
  if (line.start < 0) {
    log_warn(kTag, "-s %g lies before the start of the clip, where the range starts", line.start);
  }
  if (std::isfinite(line.end) && line.end > duration + kUsualRounding) {
    log_warn(
        kTag,
        "-e %g lies beyond the end of the clip at %.3f s, where the range ends; times are seconds",
        line.end, duration);
  }
  if (job.RangeSeconds() <= 0) {
    log_warn(kTag, "-e %g is not after the start at %g s; the output holds no pictures", line.end,
             line.start);
  }
}

// What was lost is told of runs that are done, and of those that the loss has made a failure.
void TellAccount(const codec::Reverse& job, ProgressObserver* observer) {
  observer->OnAccount(job.Account());
  if (job.Result() == 0) log_info(kTag, "%s", ReversedText(job.Account()).c_str());
  if (job.Result() != 0 && job.Failure().step != codec::FailedStep::kLoss) return;
  const std::string loss = LossText(job.Account());
  if (!loss.empty()) log_warn(kTag, "%s", loss.c_str());
}

// The whole run; what is known of its failure where it failed.
std::optional<Failure> Run(const std::unique_ptr<codec::Reverse> job,
                           const CommandLine& commandLine, ProgressObserver* observer) {
  if (job->Init() != 0) {
    log_error(kTag, "Reverse init error");
    return FailureOf(commandLine, *job);
  }
  WarnOfRange(commandLine, *job);
  if (job->Start() == 0) {
    ReportProgress([&job] { return ProgressOf(job.get()); }, WaitFor(commandLine, job.get()),
                   observer);
  }
  job->Release();
  const int error = job->Result();
  // The output is done: without memory for the account it is as good as with one.
  if (!commandLine.isPlain) but::Guarded(kTag, [&] { TellAccount(*job, observer); });
  if (error == 0) return std::nullopt;
  // Nothing was wrong with the output of a job that has lost a part of its clip.
  if (job->Failure().step != codec::FailedStep::kLoss) {
    log_error(kTag, "could not write %s: %s", commandLine.output.c_str(),
              codec::ffmpeg::ErrorText(error).c_str());
  }
  return FailureOf(commandLine, *job);
}

}  // namespace

int RunReverse(const CommandLine& given, ProgressObserver* observer) {
  const CommandLine commandLine = WithSourceKeys(given);
  auto job = std::make_unique<codec::Reverse>(commandLine.input.c_str(), commandLine.start,
                                              commandLine.end, commandLine.output.c_str());
  SwitchOnAdditions(commandLine, job.get());
  DescribeOutput(commandLine, job.get());
  return RunJob(std::move(job), commandLine, observer);
}

void SwitchOnAdditions(const CommandLine& commandLine, codec::Reverse* job) {
  if (commandLine.isPlain && commandLine.memory > 0) {
    log_warn(kTag, "--plain leaves --memory out");
  }
  if (commandLine.isPlain) return;
  // Of the one warning that every run has, a person who is shown warnings only would learn nothing.
  if (!log_enabled(kLogInfo)) job->SetOutputParameter("speed", "1");
  job->SetMirror(true);
  job->SetSafeOutput(true);
  job->SetIndependent(true);
  job->SetMemoryLimit(commandLine.memory > 0 ? commandLine.memory : codec::Reverse::kHostMemory);
}

void DescribeOutput(const CommandLine& commandLine, codec::Reverse* job) {
  if (commandLine.hasNoSound) job->DisableAudio();
  job->SetStrict(commandLine.isStrict);
  for (const OutputValue& given : commandLine.outputValues) {
    job->SetOutputParameter(given.key.c_str(), given.value.c_str());
  }
}

int RunJob(std::unique_ptr<codec::Reverse> job, const CommandLine& commandLine,
           ProgressObserver* observer) {
  ProgressLines lines;
  if (observer == nullptr) observer = &lines;
  job->SetKeepExisting(KeepsExisting(commandLine));
  std::string advice = WhyNotEncodable(commandLine);
  if (advice.empty()) advice = WhyNotOverwritten(commandLine, AskAtTerminal());
  if (advice.empty()) {
    const std::optional<Failure> failure = Run(std::move(job), commandLine, observer);
    if (failure) advice = Advice(*failure);
  }
  // After the job's own last lines: what remains on the screen is what a person can do.
  if (!advice.empty()) log_error(kTag, "%s", advice.c_str());
  observer->OnEnd({advice.empty(), commandLine.output, advice});
  return advice.empty() ? 0 : -1;
}

std::function<void(int milliseconds)> WaitFor(const CommandLine& commandLine, codec::Reverse* job) {
  if (commandLine.isPlain) return &Sleep;
  return [job](int milliseconds) { job->WaitForEnd(milliseconds); };
}

void ReportProgress(const std::function<Progress()>& progress,
                    const std::function<void(int milliseconds)>& wait, ProgressObserver* observer) {
  constexpr int kIntervalMs = 400;
  Progress now;
  do {
    now = progress();
    observer->OnProgress(now);
    wait(kIntervalMs);
  } while (100.0 > now.percent);
}

}  // namespace app
