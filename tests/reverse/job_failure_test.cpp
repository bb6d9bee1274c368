// SPDX-License-Identifier: MIT
#include "reverse/job_failure.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "reverse/reverse.h"
#include "tests/codec/filter/png_file.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::ScratchPath;

struct Case {
  std::string input = Clip(ClipKind::kH264Short);
  std::string output = ScratchPath("failure.mp4");
  double start = 0;
  double end = 0;
  bool isMirror = false;
};

// What is left of the whole run.
JobFailure FailureOf(const Case& run) {
  const test_support::LogCapture log;
  Reverse job(run.input.c_str(), run.start, run.end, run.output.c_str());
  job.SetMirror(run.isMirror);
  job.SetSafeOutput(run.isMirror);
  if (job.Init() == 0 && job.Start() == 0) {
    while (!job.WaitForEnd(1000)) {
    }
  }
  job.Release();
  return job.Failure();
}

void ExpectFailure(const Case& run, FailedStep step, int error, const char* kind = nullptr) {
  for (const bool isMirror : {false, true}) {
    Case both = run;
    both.isMirror = isMirror;
    const JobFailure failure = FailureOf(both);
    EXPECT_EQ(static_cast<int>(failure.step), static_cast<int>(step)) << run.input << isMirror;
    EXPECT_EQ(failure.error, error) << run.input << isMirror;
    EXPECT_STREQ(failure.kind, kind) << run.input << isMirror;
  }
}

Case WithInput(const std::string& input) {
  Case run;
  run.input = input;
  return run;
}

Case WithOutput(const std::string& output) {
  Case run;
  run.output = output;
  return run;
}

Case WithRange(double start, double end) {
  Case run;
  run.start = start;
  run.end = end;
  return run;
}

std::string RedLogo() {
  std::vector<uint8_t> pixels(size_t{16} * 16 * 3, 0);
  for (size_t i = 3; i < pixels.size(); i += 3) pixels[i] = 250;
  return testing::WritePng("failure_logo.png", 16, 16, {PNG_COLOR_TYPE_RGB, 8, false}, pixels);
}

std::string MakePipe(const std::string& name) {
  const std::string path = ScratchPath(name);
  mkfifo(path.c_str(), 0600);
  return path;
}

TEST(JobFailure, IsNoneOfARunThatSucceeds) {
  ExpectFailure(WithRange(0, 0), FailedStep::kNone, 0);
  ExpectFailure(WithRange(2, 1), FailedStep::kNone, 0);
}

TEST(JobFailure, TellsWhyTheInputCannotBeOpened) {
  const std::string text = ScratchPath("notes.txt");
  std::ofstream(text) << "no clip";
  ExpectFailure(WithInput(ScratchPath("absent.mp4")), FailedStep::kOpenInput, AVERROR(ENOENT));
  ExpectFailure(WithInput(text), FailedStep::kOpenInput, AVERROR_INVALIDDATA);
  ExpectFailure(WithInput(text + "/x.mp4"), FailedStep::kOpenInput, AVERROR(ENOTDIR));
  ExpectFailure(WithInput(MakePipe("failure.pipe")), FailedStep::kOpenInput, AVERROR(ESPIPE),
                "a pipe (FIFO)");
  ExpectFailure(WithInput(ScratchPath("")), FailedStep::kOpenInput, AVERROR(ESPIPE), "a directory");
}

TEST(JobFailure, TellsWhatTheInputLacks) {
  ExpectFailure(WithInput(Clip(ClipKind::kAudioOnly)), FailedStep::kReadFacts, 0);
  ExpectFailure(WithRange(5, 0), FailedStep::kCheckRange, 0);
}

TEST(JobFailure, TellsWhyTheOutputCannotBeOpened) {
  const Case onto = WithOutput(Clip(ClipKind::kH264Short));
  ExpectFailure(onto, FailedStep::kSameFile, 0);
  ExpectFailure(WithOutput(ScratchPath("none/x.mp4")), FailedStep::kOpenOutput, AVERROR(ENOENT));
  ExpectFailure(WithOutput(ScratchPath("")), FailedStep::kOpenOutput, AVERROR(EISDIR),
                "a directory");
}

TEST(JobFailure, TellsWhyTheOutputCannotBeWritten) {
  ExpectFailure(WithOutput(ScratchPath("failure.webm")), FailedStep::kWriteOutput, AVERROR(EINVAL));
  const std::string full = ScratchPath("full.ts");
  ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
  ExpectFailure(WithOutput(full), FailedStep::kWriteOutput, AVERROR(ENOSPC), "a character device");
}

JobFailure FailureWithLogo(const std::string& input, bool isScaled) {
  const test_support::LogCapture log;
  const std::string output = ScratchPath("failure_logo.mp4");
  std::filesystem::remove(output);
  Reverse job(input.c_str(), 0, 0, output.c_str());
  job.SetMirror(true);
  job.SetOutputParameter("has-water-mark", "1");
  job.SetOutputParameter("logo-path", RedLogo().c_str());
  job.SetOutputParameter("water-mark-pos", "2");
  if (isScaled) job.SetOutputParameter("target-width", "32");
  if (isScaled) job.SetOutputParameter("target-height", "32");
  const bool isOpen = job.Init() == 0;
  EXPECT_EQ(std::filesystem::exists(output), isOpen);
  return job.Failure();
}

TEST(JobFailure, TellsWhyALogoCannotBeStamped) {
  const std::string four = test_support::CustomClip(
      "failure_bgra.avi", {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25", "-t", "1",
                           "-pix_fmt", "bgra", "-c:v", "rawvideo"});
  EXPECT_EQ(FailureWithLogo(four, false).step, FailedStep::kNone);
  EXPECT_EQ(FailureWithLogo(four, true).obstacle,
            "a logo is stamped on pictures of the clip's own size only; leave has-water-mark out, "
            "or resize the clip first");
  const JobFailure planar = FailureWithLogo(Clip(ClipKind::kH264Short), false);
  EXPECT_EQ(planar.step, FailedStep::kOpenOutput);
  EXPECT_EQ(
      planar.obstacle,
      "a logo is stamped on pictures in bgra or rgba only, and these are yuv420p; convert the "
      "clip first, as by ffmpeg -i IN -c:v ffv1 -pix_fmt bgra OUT.mkv, or leave "
      "has-water-mark out");
}

// At 25 pictures a second.
TEST(JobFailure, TellsARangeBetweenTwoPictures) {
  ExpectFailure(WithRange(1.01, 1.02), FailedStep::kReadRange, AVERROR(ENODATA));
}

// One picture in ten seconds: none lies before the range within its step.
TEST(JobFailure, TellsARangeBeforeALaterPicture) {
  const std::string slides = test_support::CustomClip(
      "failure_slides.mkv",
      {"-f", "lavfi", "-i", "testsrc2=size=64x64:rate=1/10", "-t", "40", "-c:v", "mpeg4"});
  Case run = WithInput(slides);
  run.start = 12;
  run.end = 13;
  run.isMirror = true;
  const JobFailure failure = FailureOf(run);
  EXPECT_EQ(static_cast<int>(failure.step), static_cast<int>(FailedStep::kReadRange));
}

// Sound goes on for two seconds after the last picture.
TEST(JobFailure, TellsARangeWithoutAnyPictureNearby) {
  const std::string clip = test_support::CustomClip(
      "failure_sound.mkv",
      {"-f", "lavfi", "-i", "testsrc2=size=64x64:rate=25:duration=1", "-f", "lavfi", "-i",
       "sine=duration=4", "-c:v", "mpeg4", "-c:a", "pcm_s16le"});
  Case run = WithInput(clip);
  run.start = 3;
  run.end = 3.5;
  run.isMirror = true;
  const JobFailure failure = FailureOf(run);
  EXPECT_EQ(static_cast<int>(failure.step), static_cast<int>(FailedStep::kReadInput));
  EXPECT_EQ(failure.error, AVERROR_INVALIDDATA);
}

}  // namespace
}  // namespace codec
