// SPDX-License-Identifier: MIT
#include "app/progress_lines.h"

#include <gtest/gtest.h>

#include "tests/support/log_capture.h"

namespace app {
namespace {

using test_support::LogCapture;

Progress AtTheEnd() {
  Progress progress;
  progress.percent = 100;
  progress.range = 3;
  progress.position = 3;
  return progress;
}

TEST(ProgressLines, LogEachReportAndNoEnd) {
  const LogCapture log;
  ProgressLines lines;
  lines.OnProgress(AtTheEnd());
  lines.OnEnd({true, "out.mp4", ""});
  EXPECT_EQ(log.Lines(),
            (std::vector<test_support::LogLine>{{kLogInfo, "reverse::Main", "progress:100.000"}}));
}

TEST(LastLine, IsAllThatARunLogsThatIsDone) {
  const LogCapture log;
  log_set_level(kLogError);
  LastLine last;
  last.OnProgress(AtTheEnd());
  EXPECT_TRUE(log.Lines().empty());
  last.OnEnd({true, "out.mp4", ""});
  EXPECT_EQ(log.Texts("reverse::Main"),
            (std::vector<std::string>{"out.mp4 holds 3.000 s, reversed"}));
}

TEST(LastLine, SaysNothingOfAFailure) {
  const LogCapture log;
  LastLine last;
  last.OnEnd({false, "out.mp4", "advice"});
  EXPECT_TRUE(log.Lines().empty());
}

}  // namespace
}  // namespace app
