// SPDX-License-Identifier: MIT
// Jobs that cannot end well, and jobs that are ended from outside.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>

#include "reverse/reverse.h"
#include "tests/faults/faults.h"
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

constexpr char kTag[] = "codec::Reverse";

void WaitForEnd(Reverse* job) {
  while (job->GetProgress() < 100) std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

TEST(ReverseFailure, TellsOfARefusedHeaderAndRemovesItsFile) {
  const std::string output = ScratchPath("refused.webm");
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  ASSERT_EQ(job.Init(), 0);
  EXPECT_TRUE(std::filesystem::exists(output));
  EXPECT_EQ(job.DoReverse(), -1) << "no step is worth it";
  ASSERT_EQ(job.Start(), 0);
  WaitForEnd(&job);
  job.Release();
  EXPECT_LT(job.Result(), 0);
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(ReverseFailure, KeepsAFileThatWasThereBefore) {
  const std::string output = ScratchPath("old.webm");
  std::ofstream(output) << "old";
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  ASSERT_EQ(job.Init(), 0);
  ASSERT_EQ(job.Start(), 0);
  WaitForEnd(&job);
  job.Release();
  EXPECT_LT(job.Result(), 0);
  EXPECT_TRUE(std::filesystem::exists(output));
}

// Gives the bytes of what stands there.
std::string BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(SafeOutput, IsOffUnlessSet) {
  const std::string output = ScratchPath("unsafe.mp4");
  std::ofstream(output) << "old";
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  ASSERT_EQ(job.Init(), 0);
  EXPECT_NE(BytesOf(output), "old");
}

TEST(SafeOutput, KeepsTheOldFileUntilTheProgressIsDone) {
  const std::string output = ScratchPath("safe.mp4");
  std::ofstream(output) << "old";
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  job.SetSafeOutput(true);
  ASSERT_EQ(job.Init(), 0);
  EXPECT_EQ(BytesOf(output), "old");
  ASSERT_EQ(job.Start(), 0);
  WaitForEnd(&job);
  EXPECT_FALSE(test_support::VideoTimes(output).empty());
  job.Release();
  EXPECT_EQ(job.Result(), 0);
  EXPECT_FALSE(test_support::VideoTimes(output).empty());
}

TEST(SafeOutput, KeepsTheOldFileWhereTheJobIsNotStarted) {
  const std::string output = ScratchPath("unstarted.mp4");
  std::ofstream(output) << "old";
  {
    Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
    job.SetSafeOutput(true);
    ASSERT_EQ(job.Init(), 0);
  }
  EXPECT_EQ(BytesOf(output), "old");
}

TEST(SafeOutput, KeepsTheOldFileWhereItCannotBeReplacedAtTheEnd) {
  using test_support::Fault;
  using test_support::FaultCall;
  const std::string output = ScratchPath("kept.mp4");
  std::ofstream(output) << "old";
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  job.SetSafeOutput(true);
  ASSERT_EQ(job.Init(), 0);
  const Fault fault(FaultCall::fsync, 0, ENOSPC);
  const LogCapture log;
  ASSERT_EQ(job.Start(), 0);
  WaitForEnd(&job);
  job.Release();
  EXPECT_EQ(job.Result(), -ENOSPC);
  EXPECT_TRUE(log.Has(kLogError, "but::NewFile", "'" + output + "': No space left on device"));
  EXPECT_EQ(BytesOf(output), "old");
}

TEST(ReverseFailure, EndsWhereTheHostGivesNoThread) {
  const std::string output = ScratchPath("threadless.mp4");
  Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
  ASSERT_EQ(job.Init(), 0);
  const LogCapture log;
  {
    const test_support::NoThreads noThreads;
    EXPECT_EQ(job.Start(), -1);
  }
  EXPECT_EQ(log.CountContaining(kLogError, "but::Thread", "thread creation failed"), 1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "no thread for the work"));
  EXPECT_EQ(job.GetProgress(), 100.0F) << "who waits for the end must not wait for ever";
  job.Release();
  EXPECT_EQ(job.Result(), -EAGAIN);
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(ReverseFailure, MayBeReleasedAtAnyMoment) {
  constexpr unsigned kSeed = 7;
  std::mt19937 random(kSeed);
  std::uniform_int_distribution<int> microseconds(0, 150000);
  const std::string output = ScratchPath("stopped.mp4");
  for (int i = 0; i < 6; ++i) {
    Reverse job(Clip(ClipKind::kH264Short).c_str(), 0, 0, output.c_str());
    // With the writer's thread and without it.
    job.SetOutputParameter("use-thread", i % 2 == 0 ? "1" : "0");
    ASSERT_EQ(job.Init(), 0);
    ASSERT_EQ(job.Start(), 0);
    const int wait = microseconds(random);
    std::this_thread::sleep_for(std::chrono::microseconds(wait));
    job.Release();
    EXPECT_EQ(job.Result(), 0) << "seed " << kSeed << ", released after " << wait << " us";
    // What was written by then is a whole file.
    EXPECT_FALSE(test_support::ContainerFields(output).empty());
  }
}

}  // namespace
}  // namespace codec
