// SPDX-License-Identifier: MIT
#include "base/platform.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <thread>

namespace {

// Puts a new terminal under standard input and standard output until it is destroyed.
class TerminalStandIn {
 public:
  TerminalStandIn() : mMaster(posix_openpt(O_RDWR | O_NOCTTY)) {
    std::array<char, 128> name{};
    grantpt(mMaster);
    unlockpt(mMaster);
    ptsname_r(mMaster, name.data(), name.size());
    mSlave = open(name.data(), O_RDWR | O_NOCTTY);
    for (size_t i = 0; i < mSaved.size(); ++i) {
      mSaved[i] = dup(static_cast<int>(i));
      dup2(mSlave, static_cast<int>(i));
    }
  }
  ~TerminalStandIn() {
    for (size_t i = 0; i < mSaved.size(); ++i) {
      dup2(mSaved[i], static_cast<int>(i));
      close(mSaved[i]);
    }
    close(mSlave);
    close(mMaster);
  }
  TerminalStandIn(const TerminalStandIn&) = delete;
  TerminalStandIn& operator=(const TerminalStandIn&) = delete;

  bool Works() const { return mMaster >= 0 && mSlave >= 0; }
  tcflag_t LocalModes() const {
    termios modes{};
    tcgetattr(mSlave, &modes);
    return modes.c_lflag;
  }
  void Press(char key) const { ASSERT_EQ(write(mMaster, &key, 1), 1); }

 private:
  int mMaster;
  int mSlave = -1;
  std::array<int, 2> mSaved{};
};

void ExpectThatKeyEndsThePause(char key) {
  const TerminalStandIn terminal;
  ASSERT_TRUE(terminal.Works());
  const tcflag_t before = terminal.LocalModes();
  std::thread pause(&PauseForKey);
  while ((terminal.LocalModes() & ICANON) != 0) std::this_thread::yield();
  terminal.Press(key);
  pause.join();
  EXPECT_EQ(terminal.LocalModes(), before);
}

TEST(Platform, PauseEndsWithAKeyAndLeavesTheTerminalAsItWas) { ExpectThatKeyEndsThePause('x'); }

TEST(Platform, PauseEndsWithTheInterruptKeyAsWell) { ExpectThatKeyEndsThePause('\003'); }

TEST(Platform, PauseReturnsAtOnceWithoutATerminal) {
  const int saved = dup(STDIN_FILENO);
  const int nothing = open("/dev/zero", O_RDONLY);
  dup2(nothing, STDIN_FILENO);
  PauseForKey();
  dup2(saved, STDIN_FILENO);
  close(saved);
  close(nothing);
}

TEST(Platform, SleepWaitsAtLeastAsLongAsAsked) {
  const auto before = std::chrono::steady_clock::now();
  Sleep(20);
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(20));
  Sleep(0);
  Sleep(-5);
}

TEST(Platform, NowMicrosIsTheProcessorTimeInWholeMilliseconds) {
  const int64_t start = but::NowMicros();
  EXPECT_EQ(start % 1000, 0);
  // Works until the clock has moved; a clock that stands still runs into the test's time limit.
  while (but::NowMicros() < start + 5000) {
  }
  const int64_t before = std::clock();
  const int64_t now = but::NowMicros();
  const int64_t after = std::clock();
  EXPECT_EQ(now % 1000, 0);
  EXPECT_GE(now, before / 1000 * 1000);
  EXPECT_LE(now, after);
  EXPECT_GE(but::ProcessClockMillis(), now / 1000);
}

}  // namespace
