// SPDX-License-Identifier: MIT
// Jobs whose pictures are copied, as programs make them.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "reverse/copy_keys.h"
#include "reverse/reverse.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"
#include "tests/support/picture_count.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::CountPackets;
using test_support::CustomClip;
using test_support::LogCapture;
using test_support::ScratchPath;

// Pictures of 6 MB, so that a job has many pieces.
std::string LargePictures() {
  return CustomClip("copy_job_rgb.avi",
                    {"-f", "lavfi", "-i", "testsrc2=rate=25:size=1920x1080", "-frames:v", "60",
                     "-c:v", "rawvideo", "-pix_fmt", "bgr24"});
}

TEST(CopyJob, CountsWhatItWrites) {
  const std::string output = ScratchPath("job.avi");
  Reverse job(LargePictures().c_str(), 0, 0, output.c_str());
  job.SetCopy(true);
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  job.WaitForEnd(60000);
  job.Release();
  EXPECT_EQ(job.Result(), 0);
  EXPECT_EQ(job.Account().pictures, 60);
  EXPECT_TRUE(job.Account().IsWhole());
  EXPECT_EQ(CountPackets(output), 60);
}

TEST(CopyJob, LeavesAWholeFileIfItIsCancelled) {
  const std::string output = ScratchPath("cancelled.avi");
  Reverse job(LargePictures().c_str(), 0, 0, output.c_str());
  job.SetCopy(true);
  ASSERT_EQ(job.Init(), 0);
  EXPECT_EQ(job.DoReverse(), 0);
  job.Cancel();
  ASSERT_EQ(job.Start(), 0);
  job.WaitForEnd(60000);
  job.Release();
  EXPECT_EQ(job.Result(), 0);
  EXPECT_GT(job.Account().pictures, 0);
  EXPECT_LT(job.Account().pictures, 60);
  EXPECT_EQ(CountPackets(output), job.Account().pictures);
}

TEST(CopyJob, TellsWhatStandsInItsWay) {
  const LogCapture log;
  const std::string output = ScratchPath("refused.mov");
  Reverse job(Clip(ClipKind::kH264).c_str(), 0, 0, output.c_str());
  job.SetCopy(true);
  EXPECT_EQ(job.Init(), -1);
  EXPECT_EQ(job.Failure().step, FailedStep::kCopy);
  EXPECT_NE(job.Failure().obstacle.find("leans on others (h264)"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(output));
}

// The last word on each counts, in whatever order they come.
TEST(CopyJob, IsMadeOnlyAsLongAsItIsAskedFor) {
  const std::string clip =
      CustomClip("copy_job_alone.mkv", {"-f", "lavfi", "-i", "testsrc2=rate=25:size=64x64",
                                        "-frames:v", "5", "-c:v", "mjpeg", "-pix_fmt", "yuvj420p"});
  const std::string output = ScratchPath("asked.mkv");
  const auto codecAfter = [&](const std::vector<std::pair<bool, bool>>& calls) {
    Reverse job(clip.c_str(), 0, 0, output.c_str());
    for (const auto& [isCopy, isOn] : calls) {
      if (isCopy) job.SetCopy(isOn);
      if (!isCopy) job.SetMirror(isOn);
    }
    EXPECT_EQ(job.Init(), 0);
    EXPECT_EQ(job.Start(), 0);
    job.WaitForEnd(60000);
    job.Release();
    EXPECT_EQ(job.Account().pictures, 5);
    return test_support::StreamFields(output, "v")["codec_name"];
  };
  EXPECT_EQ(codecAfter({{true, true}, {false, false}}), "mjpeg");
  EXPECT_EQ(codecAfter({{false, true}, {true, true}, {true, false}}), "h264");
  EXPECT_EQ(codecAfter({{true, true}, {true, false}, {false, true}}), "h264");
}

TEST(CopyJob, RefusesKeysOfPictures) {
  const LogCapture log;
  const std::string output = ScratchPath("refused_key.avi");
  Reverse job(LargePictures().c_str(), 0, 0, output.c_str());
  job.SetCopy(true);
  job.SetOutputParameter("target-width", "320");
  EXPECT_EQ(job.Init(), -1);
  EXPECT_EQ(job.Failure().step, FailedStep::kCopy);
  EXPECT_EQ(job.Failure().obstacle, "target-width is for pictures that are encoded; leave it out");
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(CopyKeys, TellNothingOfThePictures) {
  for (const char* const key : {"audio-codec", "audio-opt:dither_method", "tag.title", "speed"}) {
    EXPECT_TRUE(IsForCopies(key)) << key;
  }
  for (const char* const key : {"video-codec", "video-opt:tune", "rotate", "rotation", "crf"}) {
    EXPECT_FALSE(IsForCopies(key)) << key;
  }
}

}  // namespace
}  // namespace codec
