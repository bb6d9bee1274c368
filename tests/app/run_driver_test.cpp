#include "app/run_driver.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <vector>

#include "codec/ffmpeg/compat.h"
#include "codec/ffmpeg/faults.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"

namespace app {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::LogCapture;
using test_support::ScratchPath;

TEST(RunDriver, LogsProgressEvery400MillisecondsUntilOneLineAfterHundred) {
  const std::vector<float> values = {0, 12.5F, 99.9999F, 100};
  size_t next = 0;
  std::vector<int> waits;
  const LogCapture log;
  ReportProgress([&] { return values.at(next++); }, [&](int ms) { waits.push_back(ms); });
  EXPECT_EQ(log.Texts("reverse::Main"),
            (std::vector<std::string>{"progress:0.000", "progress:12.500", "progress:100.000",
                                      "progress:100.000"}));
  EXPECT_EQ(log.Lines()[0].level, kLogInfo);
  EXPECT_EQ(waits, (std::vector<int>{400, 400, 400, 400}));
}

TEST(RunDriver, KeepsReportingWhereTheWorkCannotStart) {
  int waits = 0;
  const LogCapture log;
  ReportProgress([&] { return waits < 50 ? 0.0F : 100.0F; }, [&](int) { ++waits; });
  EXPECT_EQ(log.Count(kLogInfo, "reverse::Main", "progress:0.000"), 50);
}

// Of a job that was never started the end is there, so that a wait for it would be no wait.
TEST(RunDriver, WaitsForTheEndUnlessPlain) {
  codec::Reverse job("in.mp4", 0, 0, "out.mp4");
  CommandLine line;
  constexpr int kHour = 3600 * 1000;
  WaitFor(line, &job)(kHour);
  line.isPlain = true;
  const auto begin = std::chrono::steady_clock::now();
  WaitFor(line, &job)(20);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
}

TEST(RunDriver, FailsWhereTheInputCannotBeOpened) {
  const LogCapture log;
  EXPECT_EQ(RunReverse({ScratchPath("absent.mp4"), ScratchPath("out.mp4"), 0, 0}), -1);
  EXPECT_TRUE(log.Has(kLogError, "codec::Reverse", "decoder init failed"));
  EXPECT_TRUE(log.Has(kLogError, "reverse::Main", "Reverse init error"));
  EXPECT_FALSE(std::filesystem::exists(ScratchPath("out.mp4")));
}

TEST(RunDriver, ReversesTheRangeInSeconds) {
  for (const bool isPlain : {false, true}) {
    const LogCapture log;
    const std::string output = ScratchPath("range.mp4");
    EXPECT_EQ(RunReverse({Clip(ClipKind::kH264Short), output, 1, 2.5, isPlain}), 0);
    EXPECT_TRUE(std::filesystem::exists(output));
    EXPECT_EQ(log.Texts("reverse::Main").back(), "progress:100.000");
    EXPECT_EQ(log.Count(kLogInfo, "reverse::Main", "progress:100.000"), 1);
  }
}

// The calls are the same for pictures and sound; the clip with sound meets both.
TEST(RunDriver, FailsWhereAnEncoderRefusesFramesInTheMiddle) {
  using codec::ffmpeg::Fault;
  using codec::ffmpeg::FaultCall;
  constexpr int kPassing = 40;
  for (const ClipKind kind : {ClipKind::kH264NoAudio, ClipKind::kH264Short}) {
    for (const FaultCall call :
         {FaultCall::avcodec_send_frame, FaultCall::avcodec_receive_packet}) {
      for (const int error : {AVERROR(ENOMEM), AVERROR_EXTERNAL}) {
        const std::string output = ScratchPath("refused.mp4");
        const LogCapture log;
        const Fault fault(call, kPassing, error);
        EXPECT_EQ(RunReverse({Clip(kind), output, 0, 0}), -1);
        EXPECT_TRUE(log.Has(kLogError, "reverse::Main",
                            "could not write " + output + ": " + codec::ffmpeg::ErrorText(error)));
        EXPECT_FALSE(std::filesystem::exists(output));
      }
    }
  }
}

}  // namespace
}  // namespace app
