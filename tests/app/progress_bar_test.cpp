// SPDX-License-Identifier: MIT
#include "app/progress_bar.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace app {
namespace {

// How many columns a text takes: its bytes without those that continue a character.
int Width(const std::string& text) {
  return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
  }));
}

// A run over 60 s of a clip that began at the time 1000 and has come to this percent at `now`.
ProgressBar At(double percent, double now, bool isUtf8 = false) {
  ProgressBar bar(isUtf8);
  bar.SetRange(60);
  bar.Update(0, 1000);
  bar.Update(percent, now);
  return bar;
}

TEST(ProgressBar, ShowsPercentSpeedAndTimeLeft) {
  EXPECT_EQ(At(25, 1010).Line(40, 1010), "  [###---------]  25%  1.50x  0:30 left");
  EXPECT_EQ(At(25, 1010, true).Line(40, 1010),
            "  \u2588\u2588\u2588\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591"
            "  25%  1.50x  0:30 left");
}

TEST(ProgressBar, ShowsTheTimeTakenAtTheEnd) {
  EXPECT_EQ(At(100, 1075).Line(40, 1080), "  [############] 100%  0.80x    in 1:15");
}

TEST(ProgressBar, LeavesOutWhatIsNotKnownYet) {
  ProgressBar bar(false);
  EXPECT_EQ(bar.Line(40, 1000), "") << "nothing has begun";
  bar.SetRange(60);
  bar.Update(0, 1000);
  EXPECT_EQ(bar.Line(20, 1003), "  [----------]   0%");
  bar.Update(50, 1000);
  EXPECT_EQ(bar.Line(20, 1000), "  [#####-----]  50%") << "no time has passed";
}

TEST(ProgressBar, TellsNoSpeedWithoutARange) {
  for (const double range : {0.0, -1.0}) {
    ProgressBar bar(false);
    bar.SetRange(range);
    bar.Update(0, 0);
    bar.Update(50, 10);
    EXPECT_EQ(bar.Line(40, 10), "  [#########----------]  50%  0:10 left");
  }
}

TEST(ProgressBar, CountsTheTimeLeftDownBetweenSteps) {
  ProgressBar bar = At(25, 1010);
  bar.Update(25, 1012);
  EXPECT_EQ(bar.Line(40, 1012), "  [###---------]  25%  1.50x  0:28 left");
  EXPECT_EQ(bar.Line(40, 1100), "  [###---------]  25%  1.50x  0:00 left");
}

TEST(ProgressBar, KeepsLongRunsAndOddClocksReadable) {
  EXPECT_EQ(At(50, 1000 + 3723).Line(40, 4723), "  [#####-----]  50%  0.01x 1:02:03 left");
  EXPECT_EQ(At(50, 1000.01).Line(40, 1000.01), "  [######------]  50%  3000x  0:00 left");
  EXPECT_EQ(At(50, 900).Line(20, 800), "  [#####-----]  50%") << "the clock was set back";
  EXPECT_EQ(At(1e-3, 1e9).Line(42, 1e9), "  [-----------]   0%  0.00x 99:59:59 left");
}

TEST(ProgressBar, ShowsHundredOnlyWhenAllIsDone) {
  EXPECT_EQ(At(99.999, 1001).Line(18, 1001), "  [#######-]  99%");
  EXPECT_EQ(At(101, 1001).Line(18, 1001), "  [########] 100%");
}

TEST(ProgressBar, IsNarrowerThanTheTerminal) {
  for (const double percent : {0.0, 0.1, 33.0, 99.9, 100.0}) {
    for (const bool isUtf8 : {false, true}) {
      for (int columns = 0; columns <= 300; ++columns) {
        const std::string line = At(percent, 1010, isUtf8).Line(columns, 1010);
        if (columns < 8) {
          EXPECT_EQ(line, "");
        } else {
          EXPECT_EQ(Width(line), columns - 1) << line;
        }
      }
    }
  }
}

TEST(ProgressBar, GivesUpTimeThenSpeedThenPercentWhereThereIsNoRoom) {
  const ProgressBar bar = At(50, 1010);
  EXPECT_EQ(bar.Line(31, 1010), "  [#--]  50%  3.00x  0:10 left");
  EXPECT_EQ(bar.Line(30, 1010), "  [######-------]  50%  3.00x");
  EXPECT_EQ(bar.Line(19, 1010), "  [####-----]  50%");
  EXPECT_EQ(bar.Line(12, 1010), "  [###----]");
}

}  // namespace
}  // namespace app
