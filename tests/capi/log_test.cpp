// SPDX-License-Identifier: MIT
// The log of the C interface, versions, and what a library may not do to its process.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/capi/job_handle.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

struct Line {
  int level;
  std::string text;
};

// Collects lines as long as it lives; called by several threads, one at a time.
class Lines {
 public:
  explicit Lines(int level) { EXPECT_EQ(clipreverse_set_log(level, &Lines::Add, this), 0); }
  ~Lines() { Stop(); }

  static void Stop() { EXPECT_EQ(clipreverse_set_log(0, nullptr, nullptr), CLIPREVERSE_OK); }
  size_t Count(int level, const std::string& piece) const {
    size_t count = 0;
    for (const Line& line : mLines) {
      count += line.level == level && line.text.find(piece) != std::string::npos ? 1U : 0U;
    }
    return count;
  }
  const std::vector<Line>& All() const { return mLines; }
  int Inner() const { return mInner; }

 private:
  static void Add(void* user, int level, const char* line) {
    auto* const my = static_cast<Lines*>(user);
    my->mLines.push_back({level, line});
    my->mInner = clipreverse_set_log(CLIPREVERSE_LOG_ERROR, nullptr, nullptr);
  }

  std::vector<Line> mLines;
  int mInner = 0;
};

void RunShort() {
  JobHandle job(SampleClip(), ScratchPath("logged.mp4"));
  clipreverse_set_range(job, -1, 0.5);
  EXPECT_EQ(job.Run(), CLIPREVERSE_OK) << job.ErrorText();
}

TEST(CLog, GivesLinesOfTheLevelAndAbove) {
  {
    Lines all(CLIPREVERSE_LOG_VERBOSE);
    RunShort();
    Lines::Stop();
    EXPECT_EQ(all.Count(CLIPREVERSE_LOG_WARNING, "\"start\" -1 lies before the start of the clip"),
              1U);
    EXPECT_GT(all.Count(CLIPREVERSE_LOG_INFO, "pictures and"), 0U);
    EXPECT_GT(all.Count(CLIPREVERSE_LOG_DEBUG, "codec::Reverse"), 0U);
    EXPECT_GT(all.Count(CLIPREVERSE_LOG_DEBUG, "[ffmpeg:"), 0U);
    EXPECT_EQ(all.Count(CLIPREVERSE_LOG_INFO, "\n"), 0U);
    EXPECT_EQ(all.Inner(), CLIPREVERSE_ERROR_STATE) << "a callback that asks for another one";
    const size_t before = all.All().size();
    RunShort();
    EXPECT_EQ(all.All().size(), before);
  }
  Lines warnings(CLIPREVERSE_LOG_WARNING);
  RunShort();
  EXPECT_EQ(warnings.Count(CLIPREVERSE_LOG_WARNING, "\"start\" -1"), 1U);
  for (const Line& line : warnings.All()) EXPECT_LE(line.level, CLIPREVERSE_LOG_WARNING);
}

TEST(CLog, WritesToNoStandardStream) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  {
    RunShort();
    JobHandle absent("absent.mp4", ScratchPath("absent-out.mp4"));
    EXPECT_EQ(absent.Run(), CLIPREVERSE_ERROR_INPUT);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(CLibrary, TellsItsVersion) {
  EXPECT_EQ(clipreverse_version(), CLIPREVERSE_VERSION);
  const int number = clipreverse_version();
  EXPECT_EQ(clipreverse_version_text(), std::to_string(number / 10000) + "." +
                                            std::to_string(number / 100 % 100) + "." +
                                            std::to_string(number % 100));
  EXPECT_EQ(
      "clip-reverse " + std::string(clipreverse_version_text()) + "\n",
      RunProgram({"--version"}).out.substr(0, 14 + std::string(clipreverse_version_text()).size()));
}

// A write to a pipe without a reader kills a process that has not prepared for it.
TEST(CLibrary, OutlivesAPipeWhoseReaderEnds) {
  const std::string pipe = ScratchPath("pipe.ts");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread reader([&pipe] {
    const int file = open(pipe.c_str(), O_RDONLY);
    std::array<char, 1000> bytes{};
    EXPECT_GT(read(file, bytes.data(), bytes.size()), 0);
    close(file);
  });
  JobHandle job(SampleClip(), pipe);
  EXPECT_EQ(job.Run(), CLIPREVERSE_ERROR_OUTPUT);
  EXPECT_THAT(job.ErrorText(), testing::HasSubstr("lost the program that read it"));
  reader.join();
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0) << "the thread is as it was";
}

}  // namespace
}  // namespace test_support
