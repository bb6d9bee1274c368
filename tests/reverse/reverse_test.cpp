// SPDX-License-Identifier: MIT
#include "reverse/reverse.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::LogCapture;
using test_support::ScratchPath;

constexpr char kTag[] = "codec::Reverse";

int InitOnly(ClipKind kind, double start, double end) {
  Reverse job(Clip(kind).c_str(), start, end, ScratchPath("init.mp4").c_str());
  return job.Init();
}

void Finish(Reverse* job) {
  while (job->GetProgress() < 100) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  job->Release();
}

// What the writer of a job was asked for and given.
struct WriterRecord {
  int startResult = 0;
  int stops = 0;
  std::vector<int64_t> pictureStamps;
};

class RecordingWriter : public MediaWriter {
 public:
  explicit RecordingWriter(WriterRecord* record) : mRecord(record) {}

  int Configure(MediaFormat& /*format*/) override { return 0; }
  int Start() override { return mRecord->startResult; }
  void Stop() override { ++mRecord->stops; }
  void WriteFrame(int type, uint8_t* /*data*/, uint32_t /*size*/, int64_t pts) override {
    if (type == static_cast<int>(kVideoFrame)) mRecord->pictureStamps.push_back(pts);
  }
  int64_t GetParameter(const char* /*key*/) override { return 0; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}

 private:
  WriterRecord* mRecord;
};

// A job that writes into a record instead of a file.
class RecordedJob : public Reverse {
 public:
  RecordedJob(ClipKind kind, double start, double end, WriterRecord* record)
      : Reverse(Clip(kind).c_str(), start, end, ScratchPath("recorded.mp4").c_str()),
        mRecord(record) {}
  ~RecordedJob() override { Release(); }

 protected:
  MediaWriter* MakeWriter(MediaFormat& /*format*/) override { return new RecordingWriter(mRecord); }

 private:
  WriterRecord* mRecord;
};

TEST(Reverse, RefusesAStartBehindTheEndOfTheClip) {
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 5, 0, ScratchPath("init.mp4").c_str());
  const LogCapture log;
  EXPECT_EQ(job.Init(), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "error reverse start position"));
  EXPECT_EQ(job.Start(), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "mDecoder not created")) << "the decoder is gone";
}

TEST(Reverse, RefusesAStartAtTheVeryEndOfTheClip) {
  const LogCapture log;
  EXPECT_EQ(InitOnly(ClipKind::kH264NoAudio, 5, 0), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "error reverse start position"));
}

TEST(Reverse, SaysThatTheWriterDoesNotStart) {
  WriterRecord record;
  record.startResult = -1;
  RecordedJob job(ClipKind::kH264Short, 0, 0, &record);
  ASSERT_EQ(job.Init(), 0);
  const LogCapture log;
  EXPECT_EQ(job.Start(), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "MediaWriter start failed"));
  EXPECT_EQ(job.GetProgress(), 0.0F);
  job.Release();
  EXPECT_EQ(log.CountContaining(kLogDebug, kTag, "ReverseWorkThread stopped"), 0)
      << "the worker was made but never ran";
  EXPECT_TRUE(record.pictureStamps.empty());
}

TEST(Reverse, CountsStampsFromAnEndCutToTheDuration) {
  WriterRecord record;
  RecordedJob job(ClipKind::kH264NoAudio, 0, 10, &record);
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  Finish(&job);
  ASSERT_EQ(record.pictureStamps.size(), 125U);
  EXPECT_NEAR(static_cast<double>(record.pictureStamps.front()), 40000, 1) << "4.96 s before 5 s";
  EXPECT_NEAR(static_cast<double>(record.pictureStamps.back()), 5000000, 1);
}

TEST(Reverse, RunsOnceWhenStartedTwice) {
  WriterRecord record;
  RecordedJob job(ClipKind::kH264Short, 0, 0, &record);
  ASSERT_EQ(job.Init(), 0);
  const LogCapture log;
  ASSERT_EQ(job.Start(), 0);
  ASSERT_EQ(job.Start(), 0);
  Finish(&job);
  EXPECT_EQ(log.CountContaining(kLogDebug, kTag, "reverse time : "), 1);
  EXPECT_EQ(record.stops, 1);
  EXPECT_EQ(record.pictureStamps.size(), 75U);
}

TEST(Reverse, KeepsItsResultWhenStartedOnceItIsOver) {
  WriterRecord record;
  RecordedJob job(ClipKind::kH264NoAudio, 0, 0, &record);
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  while (!job.WaitForEnd(1000)) {
  }
  EXPECT_EQ(job.Start(), 0);
  EXPECT_EQ(job.Result(), 0);
  job.Release();
  EXPECT_EQ(record.pictureStamps.size(), 125U);
}

TEST(Reverse, TakesTheWholeClipForANegativeStartAndNoEnd) {
  const LogCapture log;
  EXPECT_EQ(InitOnly(ClipKind::kH264NoAudio, -3, 0), 0);
  EXPECT_TRUE(log.Has(kLogInfo, kTag, "error reverse start position, use default 0"));
  EXPECT_TRUE(log.Has(kLogInfo, kTag, "error reverse length, use start to end clip"));
  EXPECT_TRUE(log.Has(kLogDebug, kTag, "==========Init=========="));
  EXPECT_TRUE(log.Has(kLogDebug, kTag, "==========Init done=========="));
  EXPECT_TRUE(log.Has(kLogDebug, kTag, "mStart:-3.000, mDuration:5.000"));
}

TEST(Reverse, CutsAnEndBehindTheClip) {
  const LogCapture log;
  EXPECT_EQ(InitOnly(ClipKind::kH264Short, 0, 10), 0);
  EXPECT_TRUE(log.Has(kLogInfo, kTag, "reverse length overflow"));
}

TEST(Reverse, RefusesAnInputThatCannotBeOpened) {
  const LogCapture log;
  Reverse job(ScratchPath("absent.mp4").c_str(), 0, 0, ScratchPath("x.mp4").c_str());
  EXPECT_EQ(job.Init(), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "decoder init failed"));
}

TEST(Reverse, RefusesAnInputWithoutVideo) {
  const LogCapture log;
  EXPECT_EQ(InitOnly(ClipKind::kAudioOnly, 0, 0), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "error has_video:0"));
}

TEST(Reverse, RefusesAnOutputThatCannotBeMade) {
  const LogCapture log;
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, ScratchPath("none/such/x.mp4").c_str());
  EXPECT_EQ(job.Init(), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "Make MediaWriter error"));
}

TEST(Reverse, RefusesToOverwriteItsInput) {
  const std::string input = ScratchPath("precious.mp4");
  std::filesystem::copy_file(Clip(ClipKind::kH264Short), input);
  const auto size = std::filesystem::file_size(input);
  const std::string link = ScratchPath("link.mp4");
  std::filesystem::create_symlink(input, link);
  for (const std::string& output : {input, link}) {
    const LogCapture log;
    Reverse job(input.c_str(), 0, 0, output.c_str());
    EXPECT_EQ(job.Init(), -1);
    EXPECT_EQ(log.CountContaining(kLogError, kTag, "is the input file"), 1);
    EXPECT_EQ(std::filesystem::file_size(input), size);
  }
}

TEST(Reverse, KeepsAnExistingOutputIfItIsTold) {
  const std::string output = ScratchPath("kept.mp4");
  std::ofstream(output) << "before";
  for (const bool isSafe : {false, true}) {
    Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
    job.SetSafeOutput(isSafe);
    job.SetKeepExisting(true);
    EXPECT_EQ(job.Init(), -1);
    EXPECT_EQ(job.Failure().step, FailedStep::kOpenOutput);
    EXPECT_EQ(job.Failure().error, AVERROR(EEXIST));
    EXPECT_EQ(std::filesystem::file_size(output), 6U);
  }
}

TEST(Reverse, WritesANewFileIfItMayReplaceNone) {
  for (const bool isSafe : {false, true}) {
    const std::string output = ScratchPath("free.mp4");
    Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
    job.SetSafeOutput(isSafe);
    job.SetKeepExisting(true);
    ASSERT_EQ(job.Init(), 0);
    ASSERT_EQ(job.Start(), 0);
    Finish(&job);
    EXPECT_EQ(job.Result(), 0);
    EXPECT_EQ(test_support::VideoTimes(output).size(), 75U);
    std::filesystem::remove(output);
  }
}

TEST(Reverse, DoesNotStartBeforeItIsInitialised) {
  const LogCapture log;
  Reverse job("in.mp4", 0, 0, "out.mp4");
  EXPECT_EQ(job.Start(), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "mDecoder not created"));
  EXPECT_EQ(job.GetProgress(), 0.0F);
}

TEST(Reverse, ReachesHundredAndReleasesTwice) {
  const std::string output = ScratchPath("whole.mp4");
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  ASSERT_EQ(job.Init(), 0);
  const LogCapture log;
  ASSERT_EQ(job.Start(), 0);
  Finish(&job);
  EXPECT_TRUE(log.Has(kLogDebug, kTag, "ReverseWorkThread stopped"));
  EXPECT_EQ(log.CountContaining(kLogDebug, kTag, "reverse time : "), 1);
  EXPECT_EQ(job.GetProgress(), 0.0F) << "no worker any more";
  job.Release();
  EXPECT_EQ(log.Count(kLogDebug, kTag, "========== Release=========="), 2);
  EXPECT_EQ(test_support::VideoTimes(output).size(), 75U);
}

TEST(Reverse, EndsWithAnEmptyOutputWhereTheEndIsNotAfterTheStart) {
  for (const double end : {1.0, 2.0}) {
    const std::string output = ScratchPath("empty.mp4");
    Reverse job(Clip(ClipKind::kH264Short).c_str(), 2, end, output.c_str());
    ASSERT_EQ(job.Init(), 0);
    const LogCapture log;
    ASSERT_EQ(job.Start(), 0);
    Finish(&job);
    EXPECT_TRUE(log.Has(kLogDebug, kTag, "Reverse over"));
    EXPECT_TRUE(std::filesystem::exists(output));
    EXPECT_TRUE(test_support::VideoTimes(output).empty());
  }
}

TEST(Reverse, CancelsAtTheNextStepAndStillStopsTheWriter) {
  WriterRecord record;
  RecordedJob job(ClipKind::kH264NoAudio, 0, 0, &record);
  ASSERT_EQ(job.Init(), 0);
  const LogCapture log;
  EXPECT_EQ(job.DoReverse(), 0);
  EXPECT_EQ(job.GetProgress(), 0.0F) << "no worker yet";
  const size_t written = record.pictureStamps.size();
  EXPECT_EQ(written, 24U) << "a second of pictures but the one that the seek consumed";
  job.Cancel();
  EXPECT_EQ(job.DoReverse(), -1);
  EXPECT_TRUE(log.Has(kLogDebug, kTag, "mIsCancel == 1, DoReverse return"));
  ASSERT_EQ(job.Start(), 0);
  Finish(&job);
  EXPECT_EQ(record.pictureStamps.size(), written);
  EXPECT_EQ(record.stops, 1);
}

TEST(Reverse, MayBeReleasedWhileItRuns) {
  const std::string output = ScratchPath("released.mp4");
  Reverse job(Clip(ClipKind::kH264LongGop).c_str(), 0, 0, output.c_str());
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  while (job.GetProgress() == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  job.Release();
  const size_t pictures = test_support::VideoTimes(output).size();
  EXPECT_GT(pictures, 0U);
  EXPECT_LE(pictures, 300U);
}

TEST(Reverse, LetsACallerChangeTheOutput) {
  const std::string output = ScratchPath("changed.mp4");
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 1, output.c_str());
  job.SetOutputParameter("target-width", "180");
  job.SetOutputParameter("target-height", "320");
  job.SetOutputParameter("target-width", "160");
  job.SetOutputParameter("rotation", "90");
  job.SetOutputParameter("use-thread", "1");
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  Finish(&job);
  const auto fields = test_support::StreamFields(output, "v");
  EXPECT_EQ(fields.at("width"), "320") << "turned after it was scaled";
  EXPECT_EQ(fields.at("height"), "160");
  EXPECT_EQ(test_support::VideoTimes(output).size(), 25U);
}

TEST(Reverse, CanLeaveTheSoundOut) {
  const std::string output = ScratchPath("silent.mp4");
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  job.DisableAudio();
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  Finish(&job);
  EXPECT_TRUE(test_support::StreamFields(output, "a").empty());
  EXPECT_EQ(test_support::VideoTimes(output).size(), 75U);
}

}  // namespace
}  // namespace codec
