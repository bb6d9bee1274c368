// SPDX-License-Identifier: MIT
// A few mutations of every row of the long run, and how it judges and counts them.
#include "tests/robustness/soak_rows.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/robustness/corpus.h"
#include "tests/robustness/damage.h"
#include "tests/robustness/output_check.h"
#include "tests/robustness/soak_clips.h"
#include "tests/robustness/tally.h"
#include "tests/support/command.h"
#include "tests/support/picture_count.h"

namespace test_support {
namespace {

constexpr int kJobs = 2;

void ExpectGood(const SandboxResult& result) {
  EXPECT_TRUE(IsGood(result.verdict)) << result.name << ": " << VerdictName(result.verdict) << "\n"
                                      << result.log;
}

TEST(SoakRows, EachIsReversedOrRefused) {
  constexpr int64_t kOfEach = 8;
  constexpr int64_t kFirst = 61;  // three cuts, then damage
  uint64_t seed = 1;
  for (const SoakRow& row : SoakRows()) {
    std::vector<SandboxCase> cases;
    for (int64_t i = 0; i < kOfEach; ++i) cases.push_back(Mutation(row, kFirst + i, ++seed));
    RunSandboxed(cases, kJobs, &ExpectGood);
  }
}

// The index leads past the first packet, so no seek finds the pictures before.
TEST(SoakRows, PicturesBeforeTheStartThatASeekReachesAreCounted) {
  constexpr uint64_t kBrokenIndex = 1122008526;
  constexpr uint64_t kTwoFirstKeys = 20261182852467;
  for (const uint64_t seed : {kBrokenIndex, kTwoFirstKeys}) {
    const std::string path = BaseClips()[1];
    SandboxCase one{std::to_string(seed), [path, seed](const std::string& scratch) {
                      const std::string damaged = scratch + "-damaged.mkv";
                      WriteBytes(damaged, Damage(ReadBytes(path), seed));
                      return damaged;
                    }};
    RunSandboxed({one}, kJobs, &ExpectGood);
  }
}

// A longer run has found these. Damage hid pictures that the decoder did not miss, and an index
// placed packets outside of the file.
TEST(SoakRows, PicturesThatDamageHidesAreTold) {
  struct Found {
    const char* row;
    int64_t number;
    uint64_t seed;
  };
  const std::vector<Found> found = {{"robust_h264.mp4", 304, 4061015172009271},
                                    {"robust_prores.mov", 218, 4061015172069185},
                                    {"robust_mpeg4.avi", 90, 4161969013899674},
                                    {"soak_uneven.mp4", 392, 4061015172119359},
                                    {"soak_fields.mkv", 89, 4061015172139056}};
  std::vector<SandboxCase> cases;
  for (const SoakRow& row : SoakRows()) {
    for (const Found& one : found) {
      if (row.title == one.row) cases.push_back(Mutation(row, one.number, one.seed));
    }
  }
  ASSERT_EQ(cases.size(), found.size());
  RunSandboxed(cases, kJobs, &ExpectGood);
}

TEST(SoakRows, UndamagedClipsAreReversed) {
  std::vector<SandboxCase> cases;
  for (const std::string& path : MirrorClips()) {
    cases.push_back({path, [path](const std::string& /*scratch*/) { return path; }});
  }
  for (const std::string& path : CopyClips()) {
    cases.push_back({path, [path](const std::string& /*scratch*/) { return path; }});
    cases.back().options = {"--copy"};
    cases.back().extension = ".mkv";
  }
  RunSandboxed(cases, kJobs, [](const SandboxResult& result) {
    EXPECT_EQ(result.verdict, Verdict::kReversed) << result.name << "\n" << result.log;
  });
}

TEST(SoakRows, OptionsReachTheRun) {
  const std::string path = BaseClips().front();
  SandboxCase one{path, [path](const std::string& /*scratch*/) { return path; }};
  const auto run = [&one](std::vector<std::string> options) {
    one.options = std::move(options);
    Verdict verdict = Verdict::kCrashed;
    RunSandboxed({one}, kJobs, [&](const SandboxResult& result) { verdict = result.verdict; });
    return verdict;
  };
  EXPECT_EQ(run({"-s", "0.2", "-e", "0.5"}), Verdict::kReversed);
  EXPECT_EQ(run({"-s", "0.5", "-e", "0.2"}), Verdict::kRefused) << "an empty range";
  EXPECT_EQ(run({"-s", "nan"}), Verdict::kRefused);
  EXPECT_EQ(run({"--memory", "1M"}), Verdict::kRefused);
  EXPECT_EQ(run({"--copy"}), Verdict::kRefused) << "groups of pictures";
}

TEST(OutputCheck, HoldsTheOutputAgainstWhatIsTold) {
  app::CommandLine line;
  line.input = BaseClips().front();
  line.output = line.input;
  ToldRun told;
  told.seconds = 1.2;
  told.account.pictures = CountPackets(line.output);
  EXPECT_EQ(StatusOf(line, told), kReversedStatus);
  told.account.lost.undecoded = 1;
  EXPECT_EQ(StatusOf(line, told), kReversedStatus);
  line.isStrict = true;
  EXPECT_EQ(StatusOf(line, told), kUncountedStatus) << "a loss";
  line.isStrict = false;
  ++told.account.pictures;
  EXPECT_EQ(StatusOf(line, told), kUncountedStatus) << "a picture more than there is";
}

TEST(OutputCheck, CopiedPicturesNeedNotBeDecodable) {
  const std::string clip = BaseClips().front();
  const std::string bytes = ReadBytes(clip);
  const size_t data = bytes.find("mdat") + 4;
  const std::string path = ScratchPath("undecodable.mp4");
  WriteBytes(path, bytes.substr(0, data) + std::string(bytes.size() - data, '\0'));
  EXPECT_FALSE(IsPlayable(path));
  EXPECT_TRUE(IsPlayable(path, Pictures::kCopied));
  WriteBytes(path, bytes.substr(0, bytes.size() - 100));
  EXPECT_FALSE(IsPlayable(path, Pictures::kCopied)) << "its end is missing";
}

TEST(MarkdownTable, HasAColumnForWhatHappened) {
  Tally first;
  first.Add({"a", Verdict::kReversed, 0, 20, 0.5, ""});
  first.Add({"b", Verdict::kRefused, 0, 10, 1.25, ""});
  Tally second;
  second.counts[static_cast<size_t>(Verdict::kReversed)] = 1234567;
  EXPECT_EQ(MarkdownTable({{"one", first}, {"two", second}}),
            "| Input | tried | reversed | refused | peak MB | longest s |\n"
            "|---|---|---|---|---|---|\n"
            "| one | 2 | 1 | 1 | 20 | 1.25 |\n"
            "| two | 1,234,567 | 1,234,567 | 0 | 0 | 0.00 |\n"
            "| all of these | 1,234,569 | 1,234,568 | 1 | | |\n");
  second.Add({"c", Verdict::kHung, 0, 10, 1.25, ""});
  EXPECT_EQ(MarkdownTable({{"two", second}}),
            "| Input | tried | reversed | refused | hung | peak MB | longest s |\n"
            "|---|---|---|---|---|---|---|\n"
            "| two | 1,234,568 | 1,234,567 | 0 | 1 | 10 | 1.25 |\n"
            "| all of these | 1,234,568 | 1,234,567 | 0 | 1 | | |\n");
}

}  // namespace
}  // namespace test_support
