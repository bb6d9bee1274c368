// SPDX-License-Identifier: MIT
#include "reverse/job_output.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/command.h"

namespace codec {
namespace {

namespace fs = std::filesystem;

void Write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

std::string Read(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(JobOutput, WritesInPlaceUnlessItIsSafe) {
  const std::string path = test_support::ScratchPath("job_in_place.mkv");
  JobOutput output(path);
  MediaFormat format;
  EXPECT_EQ(output.Place(&format), 0);
  std::string aside;
  EXPECT_NE(format.GetString("write-path", aside), 0);
  Write(path, "new");
  output.Measure();
  EXPECT_EQ(output.Bytes(), 3);
  EXPECT_EQ(output.Finish(), 0);
  output.Drop();
  EXPECT_EQ(Read(path), "new");
  EXPECT_EQ(output.Bytes(), 3);
}

TEST(JobOutput, KeepsTheOldFileUntilTheNewOneIsWhole) {
  const std::string path = test_support::ScratchPath("job_safe.mkv");
  Write(path, "old");
  JobOutput output(path);
  output.SetSafe(true);
  MediaFormat format;
  ASSERT_EQ(output.Place(&format), 0);
  std::string aside;
  ASSERT_EQ(format.GetString("write-path", aside), 0);
  Write(aside, "newer");
  output.Measure();
  EXPECT_EQ(output.Bytes(), 5);
  EXPECT_EQ(Read(path), "old");
  EXPECT_EQ(output.Finish(), 0);
  EXPECT_EQ(Read(path), "newer");
}

TEST(JobOutput, LeavesTheOldFileIfTheJobFails) {
  const std::string path = test_support::ScratchPath("job_failed.mkv");
  Write(path, "old");
  {
    JobOutput output(path);
    output.SetSafe(true);
    MediaFormat format;
    ASSERT_EQ(output.Place(&format), 0);
    output.Discard();
    output.Drop();
  }
  EXPECT_EQ(Read(path), "old");
}

TEST(JobOutput, ReplacesNothingThatIsToBeKept) {
  const std::string path = test_support::ScratchPath("job_kept.mkv");
  Write(path, "old");
  for (const bool isSafe : {false, true}) {
    JobOutput output(path);
    output.SetSafe(isSafe);
    output.SetKeepExisting(true);
    MediaFormat format;
    EXPECT_EQ(output.Place(&format), EEXIST) << isSafe;
  }
  EXPECT_EQ(Read(path), "old");
}

TEST(JobOutput, KnowsPipes) {
  const std::string path = test_support::ScratchPath("job_pipe.mkv");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  JobOutput output(path);
  MediaFormat format;
  EXPECT_EQ(output.Kind(), nullptr);
  EXPECT_EQ(output.Place(&format), 0);
  EXPECT_STREQ(output.Kind(), "a pipe (FIFO)");
  output.Drop();
  fs::remove(path);
}

TEST(JobOutput, DoesNothingBeforeItIsPlaced) {
  JobOutput output(test_support::ScratchPath("job_unplaced.mkv"));
  EXPECT_EQ(output.Finish(), 0);
  output.Discard();
  EXPECT_EQ(output.Bytes(), 0);
}

}  // namespace
}  // namespace codec
