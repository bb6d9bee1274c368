// SPDX-License-Identifier: MIT
// Jobs that run at the same time in one process.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "reverse/reverse.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"
#include "tests/support/reversal.h"

namespace codec {
namespace {

constexpr int kJobs = 8;
// Longer than any test may take.
constexpr int kHour = 3600 * 1000;

// How a job ends.
enum class End { kWhole, kCancelled, kReleased };

// What one job does, drawn before any job begins.
struct Plan {
  std::string input;
  std::string output;
  double start = 0;
  double end = 0;
  bool isMirror = false;
  bool usesThread = false;
  End way = End::kWhole;
  float progress = 0;  // percent at which it is cancelled or released
};

// A clip for each job. No two have pictures of one size, so that no buffer of one job would do for
// another.
std::string ClipOf(int number) {
  const int width = 416 + 32 * number;
  const int height = 48 + 16 * number;
  return test_support::CustomClip("several_" + std::to_string(number) + ".mp4",
                                  {"-f",       "lavfi",
                                   "-i",       test_support::SceneFilter(width, height, "25"),
                                   "-f",       "lavfi",
                                   "-i",       test_support::SweepFilter(48000, "stereo"),
                                   "-t",       "3",
                                   "-c:v",     "libx264",
                                   "-preset",  "veryfast",
                                   "-crf",     "16",
                                   "-pix_fmt", "yuv420p",
                                   "-g",       number % 2 == 0 ? "25" : "100",
                                   "-bf",      number % 3 == 0 ? "2" : "0",
                                   "-c:a",     "aac",
                                   "-b:a",     "192k"});
}

std::vector<Plan> Draw(unsigned seed) {
  std::mt19937 random(seed);
  std::vector<Plan> plans(kJobs);
  for (int i = 0; i < kJobs; ++i) {
    Plan& plan = plans[static_cast<size_t>(i)];
    plan.input = ClipOf(i);
    plan.output = test_support::ScratchPath("several_" + std::to_string(i) + ".mp4");
    // Between two pictures, so that no rounding decides about a picture.
    plan.start = static_cast<double>(random() % 20) * 0.04 + (i % 2 == 0 ? 0 : 0.02);
    plan.end = 3 - static_cast<double>(random() % 20) * 0.04 - 0.02;
    plan.isMirror = random() % 2 == 0;
    plan.usesThread = random() % 2 == 0;
    plan.progress = static_cast<float>(random() % 90);
    const unsigned way = random() % 4;
    if (way == 0) plan.way = End::kCancelled;
    if (way == 1) plan.way = End::kReleased;
  }
  return plans;
}

// Returns once the job is so far, or over.
void Await(Reverse* job, float progress) {
  while (job->GetProgress() < progress && !job->WaitForEnd(1)) {
  }
}

// One job from its beginning to its end. Its result.
int RunOne(const Plan& plan) {
  Reverse job(plan.input.c_str(), plan.start, plan.end, plan.output.c_str());
  job.SetIndependent(true);
  job.SetMirror(plan.isMirror);
  job.SetOutputParameter("speed", "1");
  if (plan.usesThread) job.SetOutputParameter("use-thread", "1");
  if (job.Init() != 0 || job.Start() != 0) return -1;
  if (plan.way == End::kWhole) {
    job.WaitForEnd(kHour);
  } else {
    Await(&job, plan.progress);
  }
  if (plan.way == End::kCancelled) {
    job.Cancel();
    job.WaitForEnd(kHour);
  }
  job.Release();
  return job.Result();
}

// The numbers of the pictures, as they are drawn into them.
std::vector<int> Numbers(const std::vector<test_support::Picture>& pictures) {
  std::vector<int> numbers;
  for (const auto& picture : pictures) {
    numbers.push_back(test_support::ReadFrameNumber(picture));
  }
  return numbers;
}

// What must be in the output, by way of ffmpeg. That of a job that was stopped is a part of it.
void ExpectOutput(const Plan& plan, int result) {
  struct stat status {};
  // One that was stopped before its first picture may have left no file.
  if (plan.way != End::kWhole && stat(plan.output.c_str(), &status) != 0) return;
  ASSERT_EQ(result, 0);
  const test_support::SourceClip source = test_support::ReadSource(plan.input);
  const std::vector<size_t> order = test_support::ExpectedOrder(source, plan.start, plan.end);
  const std::vector<test_support::Picture> pictures = test_support::DecodeLuma(plan.output);
  ASSERT_LE(pictures.size(), order.size());
  if (plan.way == End::kWhole) {
    EXPECT_EQ(pictures.size(), order.size());
  }
  std::vector<test_support::Picture> expected;
  for (size_t i = 0; i < pictures.size(); ++i) expected.push_back(source.pictures[order[i]]);
  EXPECT_EQ(Numbers(pictures), Numbers(expected));
  for (size_t i = 0; i < pictures.size(); ++i) {
    ASSERT_EQ(pictures[i].width, expected[i].width);
    ASSERT_EQ(pictures[i].height, expected[i].height);
    EXPECT_GE(test_support::Psnr(pictures[i], expected[i]), 30) << "picture " << i;
  }
  if (plan.way != End::kWhole) return;
  const test_support::SoundMatch match =
      test_support::CompareSound(plan.input, plan.output, plan.end);
  EXPECT_GE(match.peaks.size(), 2U);
  EXPECT_GE(match.Median(), 0.95);
}

class SeveralJobs : public testing::TestWithParam<unsigned> {};

TEST_P(SeveralJobs, DisturbEachOtherInNothing) {
  const std::vector<Plan> plans = Draw(GetParam());
  std::vector<int> results(plans.size(), -1);
  const test_support::LogCapture log;
  std::vector<std::thread> drivers;
  for (size_t i = 0; i < plans.size(); ++i) {
    drivers.emplace_back([&plans, &results, i] { results[i] = RunOne(plans[i]); });
  }
  for (std::thread& driver : drivers) driver.join();
  for (size_t i = 0; i < plans.size(); ++i) {
    SCOPED_TRACE("job " + std::to_string(i) + ", end " +
                 std::to_string(static_cast<int>(plans[i].way)));
    ExpectOutput(plans[i], results[i]);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, SeveralJobs, testing::Values(11U, 12U, 13U));

}  // namespace
}  // namespace codec
