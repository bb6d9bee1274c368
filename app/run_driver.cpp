#include "app/run_driver.h"

#include <optional>
#include <utility>

#include "app/advice.h"
#include "base/log.h"
#include "base/platform.h"
#include "codec/ffmpeg/compat.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

// The whole run; what is known of its failure where it failed.
std::optional<Failure> Run(const std::unique_ptr<codec::Reverse> job,
                           const CommandLine& commandLine,
                           const std::function<void(double)>& onRange) {
  if (job->Init() != 0) {
    log_error(kTag, "Reverse init error");
    Failure failure = Examine(commandLine, job->InputInfo(), 0);
    failure.memoryNeeded = job->MemoryNeeded();
    failure.memoryGranted = job->MemoryGranted();
    failure.obstacle = job->Obstacle();
    return failure;
  }
  if (onRange) onRange(job->RangeSeconds());
  if (job->Start() == 0) {
    ReportProgress([&job] { return job->GetProgress(); }, WaitFor(commandLine, job.get()));
  }
  job->Release();
  const int error = job->Result();
  if (error == 0) return std::nullopt;
  log_error(kTag, "could not write %s: %s", commandLine.output.c_str(),
            codec::ffmpeg::ErrorText(error).c_str());
  return Examine(commandLine, job->InputInfo(), error);
}

}  // namespace

int RunReverse(const CommandLine& commandLine, const std::function<void(double)>& onRange) {
  auto job = std::make_unique<codec::Reverse>(commandLine.input.c_str(), commandLine.start,
                                              commandLine.end, commandLine.output.c_str());
  SwitchOnAdditions(commandLine, job.get());
  DescribeOutput(commandLine, job.get());
  return RunJob(std::move(job), commandLine, onRange);
}

void SwitchOnAdditions(const CommandLine& commandLine, codec::Reverse* job) {
  if (commandLine.isPlain && commandLine.memory > 0) {
    log_warn(kTag, "--plain leaves --memory out");
  }
  if (commandLine.isPlain) return;
  job->SetMirror(true);
  job->SetSafeOutput(true);
  job->SetMemoryLimit(commandLine.memory > 0 ? commandLine.memory : codec::Reverse::kHostMemory);
}

void DescribeOutput(const CommandLine& commandLine, codec::Reverse* job) {
  if (commandLine.hasNoSound) job->DisableAudio();
  for (const OutputValue& given : commandLine.outputValues) {
    job->SetOutputParameter(given.key.c_str(), given.value.c_str());
  }
}

int RunJob(std::unique_ptr<codec::Reverse> job, const CommandLine& commandLine,
           const std::function<void(double)>& onRange) {
  const std::optional<Failure> failure = Run(std::move(job), commandLine, onRange);
  if (!failure) return 0;
  // After the job's own last lines: what remains on the screen is what a person can do.
  log_error(kTag, "%s", Advice(*failure).c_str());
  return -1;
}

std::function<void(int milliseconds)> WaitFor(const CommandLine& commandLine, codec::Reverse* job) {
  if (commandLine.isPlain) return &Sleep;
  return [job](int milliseconds) { job->WaitForEnd(milliseconds); };
}

void ReportProgress(const std::function<float()>& progress,
                    const std::function<void(int milliseconds)>& wait) {
  constexpr int kIntervalMs = 400;
  float percent = 0;
  do {
    percent = progress();
    log_info(kTag, "progress:%.3f", static_cast<double>(percent));
    wait(kIntervalMs);
  } while (100.0F > percent);
}

}  // namespace app
