// SPDX-License-Identifier: MIT
#include "app/terminal_sink.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>

#include "base/log_backend.h"
#include "tests/support/terminal.h"

namespace app {
namespace {

using test_support::Screen;
using test_support::Terminal;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// A sink on a terminal, and the time of day that its messages carry.
class OnTerminal {
 public:
  explicit OnTerminal(int columns) : mTerminal(columns), mSink(mTerminal.File(), false) {
    mSink.set_pattern("%^%l%$ %v");
  }

  void Log(spdlog::level::level_enum level, const std::string& text) {
    spdlog::details::log_msg message("", level, text);
    message.time = spdlog::log_clock::time_point(std::chrono::seconds(mNow));
    mSink.log(message);
  }
  void Draw(double percent, int now) {
    mNow = now;
    Progress progress;
    progress.percent = percent;
    progress.range = 60;
    mSink.Draw(progress, now);
  }

  Terminal& Device() { return mTerminal; }
  TerminalSink& Sink() { return mSink; }

 private:
  Terminal mTerminal;
  TerminalSink mSink;
  int mNow = 1000;
};

TEST(TerminalSink, ScrollsLinesAboveTheBar) {
  OnTerminal on(40);
  Screen screen(40);
  on.Log(spdlog::level::info, "[a] first");
  on.Draw(0, 1000);
  on.Log(spdlog::level::warn, "[a] second");
  on.Draw(50, 1010);
  screen.Show(on.Device().Read());
  EXPECT_THAT(screen.Lines(), ElementsAre("info [a] first", "warning [a] second",
                                          "  [######------]  50%  3.00x  0:10 left"));
  EXPECT_EQ(screen.Column(), 0U);
  on.Log(spdlog::level::info, "[a] third");
  on.Sink().Finish();
  screen.Show(on.Device().Read());
  EXPECT_THAT(screen.Lines(), ElementsAre("info [a] first", "warning [a] second", "info [a] third",
                                          "  [######------]  50%  3.00x  0:10 left", ""));
}

TEST(TerminalSink, TakesTheBarAwayForAnErrorUntilTheNextProgress) {
  OnTerminal on(40);
  Screen screen(40);
  on.Draw(50, 1000);
  on.Log(spdlog::level::err, "[a] broken");
  screen.Show(on.Device().Read());
  EXPECT_THAT(screen.Lines(), ElementsAre("error [a] broken", ""));
  on.Draw(50, 1000);
  screen.Show(on.Device().Read());
  EXPECT_EQ(screen.Lines().back(), "  [###############---------------]  50%");
  on.Log(spdlog::level::err, "[a] broken");
  on.Sink().Finish();
  screen.Show(on.Device().Read());
  EXPECT_THAT(screen.Lines(), ElementsAre("error [a] broken", "error [a] broken", ""));
}

TEST(TerminalSink, ColoursTheLevelAndResetsItAtOnce) {
  OnTerminal on(40);
  on.Log(spdlog::level::err, "[a] b");
  EXPECT_EQ(on.Device().Read(), "\x1b[31merror\x1b[m [a] b\r\n");
  on.Log(spdlog::level::info, "[a] b");
  EXPECT_EQ(on.Device().Read(), "\x1b[32minfo\x1b[m [a] b\r\n");
}

TEST(TerminalSink, ClearsTheBarAndDrawsItInOneGo) {
  OnTerminal on(20);
  on.Draw(50, 1000);
  EXPECT_EQ(on.Device().Read(), "\r\x1b[J  [#####-----]  50%\r");
}

TEST(TerminalSink, LooksAtTheWidthEachTime) {
  OnTerminal on(80);
  on.Draw(0, 1000);
  for (const int columns : {40, 200, 9, 5, 80}) {
    on.Device().Resize(columns);
    on.Device().Read();
    on.Draw(50, 1010);
    Screen screen(columns);
    screen.Show(on.Device().Read());
    ASSERT_EQ(screen.Lines().size(), 1U) << columns;
    EXPECT_EQ(screen.Lines()[0].size(), columns < 8 ? 0U : static_cast<size_t>(columns) - 1);
  }
}

TEST(TerminalSink, TakesATerminalWithoutAWidthForAnUsualOne) {
  OnTerminal on(0);
  on.Draw(50, 1000);
  Screen screen(80);
  screen.Show(on.Device().Read());
  EXPECT_EQ(screen.Lines()[0].size(), 79U);
}

TEST(TerminalSink, ShowsControlCharactersOfNamesAsQuestionMarks) {
  OnTerminal on(40);
  on.Log(spdlog::level::info, "[a] \x1b]0;title\x07\x7f two\nlines\tand \u00e9");
  EXPECT_THAT(on.Device().Read(), HasSubstr("[a] ?]0;title?? two?lines\tand \u00e9\r\n"));
}

TEST(TerminalSink, LeavesNothingOfABarThatWasNotShown) {
  OnTerminal on(40);
  on.Sink().Finish();
  on.Log(spdlog::level::info, "[reverse::Main] progress:50.000");
  EXPECT_EQ(on.Device().Read(), "\x1b[32minfo\x1b[m [reverse::Main] progress:50.000\r\n")
      << "a text is a text";
}

}  // namespace
}  // namespace app
