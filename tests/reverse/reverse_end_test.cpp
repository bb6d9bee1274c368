// SPDX-License-Identifier: MIT
// How a caller learns that a job is over.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <fstream>
#include <future>
#include <iterator>
#include <string>

#include "reverse/reverse.h"
#include "tests/faults/no_threads.h"
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

// Longer than any test may take: a wait that is not ended by the job fails by that.
constexpr int kHour = 3600 * 1000;

// What the test and the writer of a job share.
struct Gate {
  std::promise<void> opener;
  std::shared_future<void> opened{opener.get_future()};
  int startResult = 0;
  std::atomic<int> pictures{0};
  std::atomic<bool> isStopped{false};
};

// Takes no frame before the gate is opened.
class GatedWriter : public MediaWriter {
 public:
  explicit GatedWriter(Gate* gate) : mGate(gate) {}

  int Configure(MediaFormat& /*format*/) override { return 0; }
  int Start() override { return mGate->startResult; }
  void Stop() override { mGate->isStopped = true; }
  void WriteFrame(int type, uint8_t* /*data*/, uint32_t /*size*/, int64_t /*pts*/) override {
    mGate->opened.wait();
    if (type == static_cast<int>(kVideoFrame)) ++mGate->pictures;
  }
  int64_t GetParameter(const char* /*key*/) override { return 0; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}

 private:
  Gate* mGate;
};

class GatedJob : public Reverse {
 public:
  explicit GatedJob(Gate* gate)
      : Reverse(Clip(ClipKind::kH264NoAudio).c_str(), 0, 0, ScratchPath("gated.mp4").c_str()),
        mGate(gate) {}
  ~GatedJob() override { Release(); }

 protected:
  MediaWriter* MakeWriter(MediaFormat& /*format*/) override { return new GatedWriter(mGate); }

 private:
  Gate* mGate;
};

TEST(ReverseEnd, ComesAfterTheLastPictureAndTheWritersStop) {
  Gate gate;
  GatedJob job(&gate);
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  for (const int time : {-1, 0, 1, 20}) EXPECT_FALSE(job.WaitForEnd(time));
  gate.opener.set_value();
  EXPECT_TRUE(job.WaitForEnd(kHour));
  EXPECT_EQ(gate.pictures, 125);
  EXPECT_TRUE(gate.isStopped);
  EXPECT_EQ(job.GetProgress(), 100.0F);
  EXPECT_TRUE(job.WaitForEnd(kHour)) << "each time";
  job.Release();
  EXPECT_TRUE(job.WaitForEnd(kHour)) << "after the release, too";
}

TEST(ReverseEnd, FindsTheOutputWhole) {
  const std::string output = ScratchPath("whole.mp4");
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  ASSERT_TRUE(job.WaitForEnd(kHour));
  job.Release();
  EXPECT_EQ(job.Result(), 0);
  EXPECT_EQ(test_support::VideoTimes(output).size(), 75U);
}

TEST(ReverseEnd, IsReachedByACancelledJob) {
  Gate gate;
  GatedJob job(&gate);
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  job.Cancel();
  gate.opener.set_value();
  EXPECT_TRUE(job.WaitForEnd(kHour));
  EXPECT_TRUE(gate.isStopped);
  // The first step may be under way when the job is cancelled, and ends then.
  EXPECT_LE(gate.pictures, 24);
}

std::string Text(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// A job that is told to: it fails, and what stood at the output still stands there.
TEST(ReverseEnd, LeavesNoOutputOfAJobThatIsEndedEarly) {
  const std::string output = ScratchPath("ended_early.mp4");
  for (const bool cancels : {true, false}) {
    std::ofstream(output) << "before";
    Reverse job(test_support::LongStillClip().c_str(), 0, 0, output.c_str());
    job.SetSafeOutput(true);
    job.SetDiscardCancelled(true);
    ASSERT_EQ(job.Init(), 0);
    ASSERT_EQ(job.Start(), 0);
    if (cancels) {
      job.Cancel();
      EXPECT_TRUE(job.WaitForEnd(kHour));
    }
    job.Release();
    EXPECT_EQ(job.Result(), -ECANCELED);
    EXPECT_EQ(job.Failure().step, FailedStep::kCancel);
    EXPECT_EQ(Text(output), "before");
  }
}

// A job that has ended by itself is not ended early by its release.
TEST(ReverseEnd, LeavesTheOutputOfAJobThatIsReleasedAfterItsEnd) {
  const std::string output = ScratchPath("ended.mp4");
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 1, output.c_str());
  job.SetDiscardCancelled(true);
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  ASSERT_TRUE(job.WaitForEnd(kHour));
  job.Release();
  EXPECT_EQ(job.Result(), 0);
  EXPECT_EQ(test_support::VideoTimes(output).size(), 25U);
}

TEST(ReverseEnd, IsReachedByAJobWhoseOutputIsRefused) {
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, ScratchPath("refused.webm").c_str());
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  EXPECT_TRUE(job.WaitForEnd(kHour));
  job.Release();
  EXPECT_LT(job.Result(), 0);
}

TEST(ReverseEnd, NeedsNoWaitWhereNoWorkWasBegun) {
  Gate gate;
  gate.startResult = -1;
  GatedJob job(&gate);
  EXPECT_TRUE(job.WaitForEnd(kHour)) << "not initialised";
  ASSERT_EQ(job.Init(), 0);
  EXPECT_TRUE(job.WaitForEnd(kHour)) << "not started";
  EXPECT_EQ(job.Start(), -1);
  EXPECT_TRUE(job.WaitForEnd(kHour)) << "the writer did not start";
  gate.startResult = 0;
  gate.opener.set_value();
  ASSERT_EQ(job.Start(), 0);
  EXPECT_TRUE(job.WaitForEnd(kHour));
  EXPECT_EQ(gate.pictures, 125) << "the second attempt is waited for";
  job.Release();
  EXPECT_EQ(job.Result(), 0);
  EXPECT_EQ(job.Failure().step, FailedStep::kNone);
}

TEST(ReverseEnd, NeedsNoWaitWhereTheHostGivesNoThread) {
  Gate gate;
  GatedJob job(&gate);
  ASSERT_EQ(job.Init(), 0);
  {
    const test_support::NoThreads noThreads;
    EXPECT_EQ(job.Start(), -1);
  }
  EXPECT_TRUE(job.WaitForEnd(kHour));
}

TEST(ReverseEnd, StaysWhenTheJobIsStartedOnceMore) {
  Gate gate;
  gate.opener.set_value();
  GatedJob job(&gate);
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  ASSERT_TRUE(job.WaitForEnd(kHour));
  ASSERT_EQ(job.Start(), 0);
  EXPECT_TRUE(job.WaitForEnd(kHour)) << "there is no second run";
}

// The work goes on with what was opened first.
TEST(ReverseEnd, IsNotDisturbedByAnotherInit) {
  Gate gate;
  GatedJob job(&gate);
  ASSERT_EQ(job.Init(), 0);
  EXPECT_EQ(job.Init(), -1);
  ASSERT_EQ(job.Start(), 0);
  EXPECT_EQ(job.Init(), -1);
  gate.opener.set_value();
  ASSERT_TRUE(job.WaitForEnd(kHour));
  EXPECT_EQ(job.Init(), -1);
  job.Release();
  EXPECT_EQ(job.Result(), 0);
  EXPECT_EQ(job.Failure().step, FailedStep::kNone);
  EXPECT_EQ(gate.pictures, 125);
}

}  // namespace
}  // namespace codec
