// SPDX-License-Identifier: MIT
#include "app/run_driver.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "app/progress_lines.h"
#include "codec/ffmpeg/error_text.h"
#include "tests/faults/faults.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"

namespace app {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::LogCapture;
using test_support::ScratchPath;

// Notes what it is told.
class Notes : public ProgressObserver {
 public:
  void OnProgress(const Progress& progress) override { reports.push_back(progress); }
  void OnEnd(const RunEnd& end) override { ends.push_back({end.isDone, end.output, end.advice}); }

  std::vector<Progress> reports;
  struct End {
    bool isDone;
    std::string output;
    std::string advice;
  };
  std::vector<End> ends;
};

Progress AtPercent(double percent) {
  Progress progress;
  progress.percent = percent;
  return progress;
}

TEST(RunDriver, LogsProgressEvery400MillisecondsUntilOneLineAfterHundred) {
  const std::vector<double> values = {0, 12.5, 99.9999, 100};
  size_t next = 0;
  std::vector<int> waits;
  const LogCapture log;
  ProgressLines lines;
  ReportProgress([&] { return AtPercent(values.at(next++)); }, [&](int ms) { waits.push_back(ms); },
                 &lines);
  EXPECT_EQ(log.Texts("reverse::Main"),
            (std::vector<std::string>{"progress:0.000", "progress:12.500", "progress:100.000",
                                      "progress:100.000"}));
  EXPECT_EQ(log.Lines()[0].level, kLogInfo);
  EXPECT_EQ(waits, (std::vector<int>{400, 400, 400, 400}));
}

TEST(RunDriver, EndsWithoutAReportWhereTheWorkCannotStart) {
  for (const bool isPlain : {false, true}) {
    Notes notes;
    const LogCapture log;
    CommandLine line{Clip(ClipKind::kH264Short), ScratchPath("no_thread.mp4"), 0, 0.5};
    line.isPlain = isPlain;
    const test_support::Fault fault(test_support::FaultCall::pthread_create);
    EXPECT_EQ(RunReverse(line, &notes), -1);
    EXPECT_TRUE(notes.reports.empty());
    ASSERT_EQ(notes.ends.size(), 1U);
    EXPECT_FALSE(notes.ends[0].isDone);
    EXPECT_EQ(notes.ends[0].advice,
              line.output +
                  " needs a thread that the host did not give; end other programs and try again");
    EXPECT_FALSE(std::filesystem::exists(line.output));
  }
}

TEST(RunDriver, TellsItsObserverHowFarTheRunIs) {
  Notes notes;
  const LogCapture log;
  const std::string output = ScratchPath("observed.mp4");
  EXPECT_EQ(RunReverse({Clip(ClipKind::kH264Short), output, 0.5, 2.5}, &notes), 0);
  ASSERT_FALSE(notes.reports.empty());
  double before = 0;
  for (const Progress& progress : notes.reports) {
    EXPECT_DOUBLE_EQ(progress.range, 2);
    EXPECT_DOUBLE_EQ(progress.position, progress.percent / 50);
    EXPECT_GE(progress.percent, before);
    before = progress.percent;
  }
  EXPECT_EQ(before, 100);
  EXPECT_EQ(notes.reports.back().bytes, static_cast<int64_t>(std::filesystem::file_size(output)));
  ASSERT_EQ(notes.ends.size(), 1U);
  EXPECT_TRUE(notes.ends[0].isDone);
  EXPECT_EQ(notes.ends[0].output, output);
  EXPECT_EQ(notes.ends[0].advice, "");
  EXPECT_EQ(log.CountContaining(kLogInfo, "reverse::Main", "progress:"), 0);
}

// Takes all pictures, and closes the output only after the test has seen what is told before.
class HeldWriter : public codec::MediaWriter {
 public:
  explicit HeldWriter(std::shared_future<void> release) : mRelease(std::move(release)) {}
  int Configure(codec::MediaFormat& /*format*/) override { return 0; }
  int Start() override { return 0; }
  void Stop() override { mRelease.wait(); }
  void WriteFrame(int, uint8_t*, uint32_t, int64_t) override {}
  int64_t GetParameter(const char* /*key*/) override { return 0; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}

 private:
  const std::shared_future<void> mRelease;
};

class HeldJob : public codec::Reverse {
 public:
  HeldJob(std::shared_future<void> release, const std::string& output)
      : Reverse(Clip(ClipKind::kH264NoAudio).c_str(), 0, 0.5, output.c_str()),
        mRelease(std::move(release)) {}
  ~HeldJob() override { Release(); }

 protected:
  codec::MediaWriter* MakeWriter(codec::MediaFormat& /*format*/) override {
    return new HeldWriter(mRelease);
  }

 private:
  const std::shared_future<void> mRelease;
};

// Waits with its first report until all pictures are made. Lets the output be closed after the
// second, which so is one of a job that is not over.
class LateNotes : public Notes {
 public:
  void OnProgress(const Progress& progress) override {
    Notes::OnProgress(progress);
    if (reports.size() == 1) {
      while (job->GetProgress() < 100) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (reports.size() == 2) release.set_value();
  }

  codec::Reverse* job = nullptr;
  std::promise<void> release;
};

TEST(RunDriver, TellsHundredPercentOnceAfterTheOutputIsClosed) {
  const LogCapture log;
  const std::string output = ScratchPath("held.mp4");
  LateNotes notes;
  auto job = std::make_unique<HeldJob>(notes.release.get_future().share(), output);
  notes.job = job.get();
  RunJob(std::move(job), {Clip(ClipKind::kH264NoAudio), output, 0, 0.5}, &notes);
  ASSERT_GE(notes.reports.size(), 3U);
  EXPECT_NEAR(notes.reports[1].percent, 99.9, 1e-6);
  EXPECT_EQ(notes.reports.back().percent, 100);
  EXPECT_LT(notes.reports[notes.reports.size() - 2].percent, 100);
}

TEST(RunDriver, TellsItsObserverOfAFailureBeforeTheWork) {
  Notes notes;
  const LogCapture log;
  EXPECT_EQ(RunReverse({"absent.mp4", ScratchPath("none.mp4"), 0, 0}, &notes), -1);
  EXPECT_TRUE(notes.reports.empty());
  ASSERT_EQ(notes.ends.size(), 1U);
  EXPECT_FALSE(notes.ends[0].isDone);
  EXPECT_EQ(notes.ends[0].advice, "absent.mp4 does not exist; check the name after -i");
}

TEST(RunDriver, WarnsOfARangeThatIsNotMeant) {
  struct Row {
    double start;
    double end;
    const char* warning;  // null for none
  };
  const std::vector<Row> rows = {
      {0, 5000,
       "-e 5000 lies beyond the end of the clip at 3.000 s, where the range ends; times are "
       "seconds"},
      {-1, 2, "-s -1 lies before the start of the clip, where the range starts"},
      {2.5, 3.9, nullptr},
      {2.5, std::numeric_limits<double>::infinity(), nullptr},
      {2.5, 0, nullptr},
      {2.5, -5, nullptr}};
  for (const Row& row : rows) {
    const LogCapture log;
    EXPECT_EQ(
        RunReverse({Clip(ClipKind::kH264Short), ScratchPath("meant.mp4"), row.start, row.end}), 0);
    const int warnings = log.CountContaining(kLogWarn, "reverse::Main", "-");
    EXPECT_EQ(warnings, row.warning == nullptr ? 0 : 1) << row.end;
    if (row.warning != nullptr) {
      EXPECT_TRUE(log.Has(kLogWarn, "reverse::Main", row.warning));
    }
  }
}

TEST(RunDriver, WarnsOfAnEmptyRangeIfPlain) {
  const LogCapture log;
  EXPECT_EQ(RunReverse({Clip(ClipKind::kH264Short), ScratchPath("meant.mp4"), 2, 1, true}), 0);
  EXPECT_TRUE(log.Has(kLogWarn, "reverse::Main",
                      "-e 1 is not after the start at 2 s; the output holds no pictures"));
}

TEST(RunDriver, DescribesTheOutputByTheCommandLine) {
  CommandLine line;
  line.input = Clip(ClipKind::kH264Short);
  line.output = ScratchPath("described.mp4");
  line.start = 2;
  line.hasNoSound = true;
  line.outputValues = {{"target-width", "160"}, {"target-height", "90"}, {"gop", "5"}};
  const LogCapture log;
  EXPECT_EQ(RunReverse(line), 0);
  EXPECT_EQ(test_support::StreamFields(line.output, "v").at("width"), "160");
  EXPECT_EQ(test_support::StreamFields(line.output, "v").at("height"), "90");
  EXPECT_EQ(test_support::StreamFields(line.output, "a").count("codec_name"), 0U);
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
    const std::string last =
        isPlain ? "progress:100.000" : "38 pictures and 1.500 s of sound reversed";
    EXPECT_EQ(log.Texts("reverse::Main").back(), last);
    EXPECT_EQ(log.Count(kLogInfo, "reverse::Main", "progress:100.000"), 1);
  }
}

// The calls are the same for pictures and sound; the clip with sound meets both.
TEST(RunDriver, FailsWhereAnEncoderRefusesFramesInTheMiddle) {
  using test_support::Fault;
  using test_support::FaultCall;
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
