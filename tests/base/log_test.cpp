// SPDX-License-Identifier: MIT
#include "base/log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/log_backend.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"

namespace {

using test_support::LogCapture;
using test_support::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr char kTag[] = "codec::Test";

// Sends a descriptor of the process into a file until it is destroyed.
class Redirection {
 public:
  Redirection(int descriptor, const std::string& name)
      : mDescriptor(descriptor), mSaved(dup(descriptor)), mPath(test_support::ScratchPath(name)) {
    std::fflush(nullptr);
    const int file = open(mPath.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
    dup2(file, mDescriptor);
    close(file);
  }
  ~Redirection() {
    std::fflush(nullptr);
    dup2(mSaved, mDescriptor);
    close(mSaved);
  }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

  std::string Text() const {
    std::fflush(nullptr);
    std::ostringstream text;
    text << std::ifstream(mPath).rdbuf();
    return text.str();
  }

 private:
  int mDescriptor;
  int mSaved;
  std::string mPath;
};

void LogAtEveryLevel() {
  log_error(kTag, "e%d", 0);
  log_warn(kTag, "w%d", 1);
  log_info(kTag, "i%d", 2);
  log_debug(kTag, "d%d", 3);
  log_verbose(kTag, "v%d", 4);
}

TEST(Log, KeepsLevelTagAndText) {
  const LogCapture log;
  LogAtEveryLevel();
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{kLogError, kTag, "e0"}, LogLine{kLogWarn, kTag, "w1"},
                          LogLine{kLogInfo, kTag, "i2"}, LogLine{kLogDebug, kTag, "d3"},
                          LogLine{kLogVerbose, kTag, "v4"}));
}

TEST(Log, WritesLinesToStandardErrorAndNothingToStandardOutput) {
  const Redirection out(STDOUT_FILENO, "log_out");
  const Redirection err(STDERR_FILENO, "log_err");
  log_warn(kTag, "slow: %s", "disk");
  EXPECT_THAT(err.Text(),
              MatchesRegex("[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9]+ warning \\[codec::Test\\] "
                           "slow: disk\n"));
  EXPECT_THAT(out.Text(), IsEmpty());
}

TEST(Log, ShowsInfoAndMoreImportantLinesByDefault) {
  const Redirection err(STDERR_FILENO, "log_default");
  LogAtEveryLevel();
  const std::string text = err.Text();
  EXPECT_NE(text.find("] e0\n"), std::string::npos);
  EXPECT_NE(text.find("] w1\n"), std::string::npos);
  EXPECT_NE(text.find("] i2\n"), std::string::npos);
  EXPECT_EQ(text.find("d3"), std::string::npos);
  EXPECT_EQ(text.find("v4"), std::string::npos);
}

TEST(Log, ShowsTheSetLevelAndMoreImportantOnes) {
  const std::vector<std::string> all = {"e0", "w1", "i2", "d3", "v4"};
  for (int level = kLogError; level <= kLogVerbose; ++level) {
    const LogCapture log;
    log_set_level(level);
    LogAtEveryLevel();
    EXPECT_EQ(log.Texts(kTag), std::vector<std::string>(all.begin(), all.begin() + level + 1));
    for (int asked = kLogError; asked <= kLogVerbose; ++asked) {
      EXPECT_EQ(log_enabled(asked), asked <= level);
    }
  }
}

TEST(Log, TakesTheNearestLevelForOneOutsideTheRange) {
  const LogCapture log;
  log_set_level(-3);
  LogAtEveryLevel();
  EXPECT_THAT(log.Texts(kTag), ElementsAre("e0"));
  log_set_level(99);
  EXPECT_TRUE(log_enabled(kLogVerbose));
}

TEST(Log, TrimsTheNewlinesAtTheEndOnly) {
  const LogCapture log;
  log_error(kTag, "Could not open '%s'\n", "a");
  log_text(kLogInfo, kTag, "two\nlines\n\n");
  log_text(kLogInfo, kTag, "\n");
  EXPECT_THAT(log.Texts(kTag), ElementsAre("Could not open 'a'", "two\nlines", ""));
}

TEST(Log, KeepsTextsOfAnyLengthWhole) {
  const LogCapture log;
  std::vector<std::string> expected;
  for (const size_t length : {510, 511, 512, 513, 4096, 100000}) {
    std::string text(length, 'x');
    text.back() = 'y';
    log_info(kTag, "%s", text.c_str());
    expected.push_back(text);
  }
  EXPECT_EQ(log.Texts(kTag), expected);
}

TEST(Log, LongTextsKeepSeveralArguments) {
  const LogCapture log;
  const std::string text(600, 'x');
  log_info(kTag, "%d %s %.3f", 7, text.c_str(), 1.5);
  EXPECT_THAT(log.Texts(kTag), ElementsAre("7 " + text + " 1.500"));
}

TEST(Log, TreatsFinishedTextsAsText) {
  const LogCapture log;
  log_text(kLogDebug, kTag, "100% {} %s %n {0}");
  log_info(kTag, "%s", "{} %d");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{kLogDebug, kTag, "100% {} %s %n {0}"},
                                       LogLine{kLogInfo, kTag, "{} %d"}));
}

TEST(Log, KeepsEveryLineOfTwoThreads) {
  const LogCapture log;
  const auto speak = [](const char* tag) {
    for (int i = 0; i < 500; ++i) log_info(tag, "%d", i);
  };
  std::thread first(speak, "a");
  std::thread second(speak, "b");
  first.join();
  second.join();
  std::vector<std::string> expected;
  for (int i = 0; i < 500; ++i) expected.push_back(std::to_string(i));
  EXPECT_EQ(log.Texts("a"), expected);
  EXPECT_EQ(log.Texts("b"), expected);
}

TEST(LogBackend, IsOneForTheProcess) {
  const spdlog::logger* other = nullptr;
  std::thread([&] { other = LogBackend().get(); }).join();
  EXPECT_EQ(LogBackend().get(), other);
}

}  // namespace
