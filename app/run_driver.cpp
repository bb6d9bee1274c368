// SPDX-License-Identifier: MIT
#include "app/run_driver.h"

#include <algorithm>
#include <utility>

#include "app/ordered_job.h"
#include "app/progress_lines.h"
#include "base/log.h"
#include "base/platform.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

Progress ProgressOf(const OrderedJob& run, bool isPlain) {
  codec::Reverse* const job = run.Job();
  Progress progress;
  progress.percent = isPlain ? static_cast<double>(job->GetProgress()) : run.Percent();
  progress.range = std::max(job->RangeSeconds(), 0.0);
  progress.position = progress.range * progress.percent / 100;
  progress.bytes = job->BytesWritten();
  return progress;
}

// From opening to the account. 0 or -1.
int RunOrdered(OrderedJob* run, const CommandLine& commandLine, ProgressObserver* observer) {
  codec::Reverse* const job = run->Job();
  if (run->Open(AskAtTerminal()) != 0) return -1;
  if (run->Start() == 0) {
    ReportProgress([&] { return ProgressOf(*run, commandLine.isPlain); }, WaitFor(commandLine, job),
                   observer);
  }
  const int result = run->Finish();
  if (!commandLine.isPlain) observer->OnAccount(job->Account());
  return result;
}

int Run(OrderedJob* run, const CommandLine& commandLine, ProgressObserver* observer) {
  ProgressLines lines;
  if (observer == nullptr) observer = &lines;
  const bool isDone = RunOrdered(run, commandLine, observer) == 0;
  run->Drop();
  // After the job's own last lines: what remains on the screen is what a person can do.
  if (!isDone) log_error(kTag, "%s", run->Advice().c_str());
  observer->OnEnd({isDone, commandLine.output, run->Advice()});
  return isDone ? 0 : -1;
}

}  // namespace

int RunReverse(const CommandLine& commandLine, ProgressObserver* observer) {
  OrderedJob run(commandLine);
  return Run(&run, commandLine, observer);
}

int RunJob(std::unique_ptr<codec::Reverse> job, const CommandLine& commandLine,
           ProgressObserver* observer) {
  OrderedJob run(commandLine, std::move(job));
  return Run(&run, commandLine, observer);
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
