// SPDX-License-Identifier: MIT
// Reverses a range of a clip:
//
//   reverse_clip INPUT OUTPUT [START END]    seconds; END 0 is the end of the clip
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "base/log.h"
#include "codec/ffmpeg/log_bridge.h"
#include "codec/ffmpeg/versions.h"
#include "reverse/reverse.h"

int main(int argc, char** argv) {
  if (argc != 3 && argc != 5) {
    std::fprintf(stderr, "usage: reverse_clip INPUT OUTPUT [START END]\n");
    return 2;
  }
  const double start = argc == 5 ? std::atof(argv[3]) : 0;
  const double end = argc == 5 ? std::atof(argv[4]) : 0;

  // Errors go to standard error, FFmpeg's among them.
  log_set_level(kLogError);
  codec::ffmpeg::InstallLogBridge();
  if (codec::ffmpeg::CheckVersions(codec::ffmpeg::LibraryVersions()) != 0) return 1;

  codec::Reverse job(argv[1], start, end, argv[2]);
  job.SetOutputParameter("preset", "veryfast");
  // Why not has been logged.
  if (job.Init() != 0 || job.Start() != 0) return 1;

  // The work goes on elsewhere. A program that wants to stop it calls Cancel, or Release at once.
  while (job.GetProgress() < 100) {
    std::printf("\r%3d %%", static_cast<int>(job.GetProgress()));
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  job.Release();

  // Progress is 100 after a failure too; an output that is not whole has been removed by now.
  if (job.Result() != 0) {
    std::fprintf(stderr, "\ncould not write %s\n", argv[2]);
    return 1;
  }
  std::printf("\r100 %%\n");
  return 0;
}
