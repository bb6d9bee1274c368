#include "app/run_driver.h"

#include "base/log.h"
#include "base/platform.h"
#include "codec/ffmpeg/compat.h"
#include "reverse/reverse.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

}  // namespace

int RunReverse(const CommandLine& commandLine, const std::function<void(double)>& onRange) {
  codec::Reverse job(commandLine.input.c_str(), commandLine.start, commandLine.end,
                     commandLine.output.c_str());
  if (job.Init() != 0) {
    log_error(kTag, "Reverse init error");
    return -1;
  }
  if (onRange) onRange(job.RangeSeconds());
  job.Start();
  ReportProgress([&job] { return job.GetProgress(); }, &Sleep);
  job.Release();
  if (const int error = job.Result()) {
    log_error(kTag, "could not write %s: %s", commandLine.output.c_str(),
              codec::ffmpeg::ErrorText(error).c_str());
    return -1;
  }
  return 0;
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
