// SPDX-License-Identifier: MIT
// The C interface as a program calls it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>
#include <vector>

#include "tests/capi/job_handle.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

std::string MakeFile(const std::string& name) {
  const std::string path = ScratchPath(name);
  std::ofstream(path) << "before";
  return path;
}

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool IsAsBefore(const std::string& path) { return Bytes(path) == "before"; }

// The names in a folder of its own, in which the output is written.
std::vector<std::string> Names(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
  return names;
}

TEST(CJob, ReversesARangeAndTellsWhatItHasWritten) {
  const std::string output = ScratchPath("reversed.mp4");
  JobHandle job(Clip(ClipKind::kH264), output);
  EXPECT_EQ(clipreverse_set_range(job, 1, 3), CLIPREVERSE_OK);
  EXPECT_EQ(job.Set("thread-count", "2"), CLIPREVERSE_OK);
  EXPECT_EQ(job.Run(), CLIPREVERSE_OK);
  EXPECT_EQ(clipreverse_error(job), CLIPREVERSE_OK);
  EXPECT_EQ(job.ErrorText(), "");
  const std::vector<Picture> pictures = DecodeLuma(output);
  ASSERT_EQ(pictures.size(), 50U);
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(ReadFrameNumber(pictures[static_cast<size_t>(i)]), 74 - i);
  }
  EXPECT_EQ(job.Get("pictures"), 50);
  EXPECT_EQ(job.Get("lost-pictures"), 0);
  EXPECT_NEAR(job.Get("sound"), 2, 0.03);
  EXPECT_EQ(job.Get("lost-sound"), 0);
  EXPECT_TRUE(std::isinf(job.Get("first-loss")));
  EXPECT_EQ(job.Get("percent"), 100);
  EXPECT_EQ(job.Get("range"), 2);
  EXPECT_EQ(job.Get("position"), 2);
  EXPECT_EQ(job.Get("width"), 640);
  EXPECT_EQ(job.Get("height"), 360);
  EXPECT_EQ(job.Get("frame-rate"), 25);
  EXPECT_EQ(job.Get("bytes"), static_cast<double>(fs::file_size(output)));
}

// The packets of a file with their times, by ffmpeg. In which order the packets of two streams
// stand in the file hangs on the moment at which the sound's thread is done.
std::vector<std::string> Packets(const std::string& path) {
  const CommandResult result = test_support::Run(
      {"ffmpeg", "-v", "error", "-i", path, "-map", "0", "-c", "copy", "-f", "framehash", "-"});
  std::istringstream text(result.out);
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

// The tool has the same additions and the same keys, so that its output has the same packets.
TEST(CJob, WritesWhatTheToolWrites) {
  struct Row {
    std::vector<std::string> arguments;
    std::vector<std::pair<const char*, const char*>> options;
  };
  const std::vector<Row> rows = {{{}, {}},
                                 {{"--plain"}, {{"plain", "1"}}},
                                 {{"--plain"}, {{"mirror", "0"}}},
                                 {{"--no-sound"}, {{"sound", "0"}}},
                                 {{"--set", "crf=30"}, {{"crf", "30"}}}};
  const std::string byTool = ScratchPath("tool.ts");
  const std::string byJob = ScratchPath("job.ts");
  std::vector<std::string> usual;
  for (const Row& row : rows) {
    std::vector<std::string> words = {"-i", Clip(ClipKind::kH264Short), "-o", byTool};
    words.insert(words.end(), {"--set", "thread-count=1", "--quiet"});
    words.insert(words.end(), row.arguments.begin(), row.arguments.end());
    ASSERT_EQ(RunProgram(words).status, 0);
    JobHandle job(Clip(ClipKind::kH264Short), byJob);
    job.Set("thread-count", "1");
    for (const auto& [key, value] : row.options) EXPECT_EQ(job.Set(key, value), CLIPREVERSE_OK);
    ASSERT_EQ(job.Run(), CLIPREVERSE_OK) << job.ErrorText();
    const std::vector<std::string> packets = Packets(byJob);
    EXPECT_GT(packets.size(), 75U);
    EXPECT_EQ(Packets(byTool), packets) << (row.options.empty() ? "" : row.options[0].first);
    if (row.options.empty()) usual = packets;
    EXPECT_EQ(row.options.empty(), usual == packets) << "the option changes nothing";
  }
}

// What stood at the output is gone as soon as the work begins.
TEST(CJob, WritesInPlaceIfItNeedNotBeSafe) {
  const std::string output = MakeFile("in_place.mp4");
  JobHandle job(LongStillClip(), output);
  EXPECT_EQ(job.Set("safe", "0"), CLIPREVERSE_OK);
  ASSERT_EQ(clipreverse_start(job), CLIPREVERSE_OK);
  EXPECT_FALSE(IsAsBefore(output));
  clipreverse_cancel(job);
  EXPECT_EQ(clipreverse_wait(job, -1), CLIPREVERSE_ERROR_CANCELLED);
}

// Of a plain and an usual job, each in a thread of its own.
TEST(CJob, RunsBesideOthers) {
  const std::string usual = ScratchPath("beside_usual.mp4");
  const std::string plain = ScratchPath("beside_plain.mp4");
  JobHandle first(Clip(ClipKind::kH264), usual);
  JobHandle second(Clip(ClipKind::kH264Short), plain);
  second.Set("plain", "1");
  int end = CLIPREVERSE_RUNNING;
  std::thread other([&second, &end] { end = second.Run(); });
  EXPECT_EQ(first.Run(), CLIPREVERSE_OK) << first.ErrorText();
  other.join();
  EXPECT_EQ(end, CLIPREVERSE_OK) << second.ErrorText();
  EXPECT_EQ(DecodeLuma(usual).size(), 150U);
  const std::vector<Picture> pictures = DecodeLuma(plain);
  ASSERT_EQ(pictures.size(), static_cast<size_t>(second.Get("pictures")));
  EXPECT_EQ(ReadFrameNumber(pictures[0]), 74);
}

TEST(CJob, AnswersNullPointers) {
  JobHandle job;
  double value = 0;
  EXPECT_EQ(clipreverse_set_input(nullptr, "a"), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_input(job, nullptr), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(job.ErrorText(), "the path of the input is null");
  EXPECT_EQ(clipreverse_set_output(nullptr, "a"), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_output(job, nullptr), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_range(nullptr, 0, 0), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_range(job, std::nan(""), 0), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_range(job, 0, std::nan("")), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_option(nullptr, "a", "b"), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_option(job, nullptr, "b"), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_option(job, "crf", nullptr), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_progress(nullptr, nullptr, nullptr), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_set_progress(job, nullptr, nullptr), CLIPREVERSE_OK);
  EXPECT_EQ(clipreverse_start(nullptr), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_wait(nullptr, 0), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_cancel(nullptr), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_get(nullptr, "bytes", &value), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_get(job, nullptr, &value), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_get(job, "bytes", nullptr), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_EQ(clipreverse_error(nullptr), CLIPREVERSE_ERROR_ARGUMENT);
  EXPECT_STREQ(clipreverse_error_text(nullptr), "there is no job");
  clipreverse_free(nullptr);
}

TEST(CJob, AnswersCallsOutOfOrder) {
  JobHandle job;
  EXPECT_EQ(clipreverse_wait(job, 0), CLIPREVERSE_ERROR_STATE);
  EXPECT_EQ(clipreverse_start(job), CLIPREVERSE_ERROR_STATE);
  EXPECT_EQ(job.ErrorText(), "no input is set");
  clipreverse_set_input(job, SampleClip().c_str());
  EXPECT_EQ(clipreverse_start(job), CLIPREVERSE_ERROR_STATE);
  EXPECT_EQ(job.ErrorText(), "no output is set");
  clipreverse_set_output(job, ScratchPath("order.mp4").c_str());
  EXPECT_EQ(clipreverse_set_range(job, 0, 0.5), CLIPREVERSE_OK);
  EXPECT_EQ(job.Run(), CLIPREVERSE_OK);
  EXPECT_EQ(clipreverse_wait(job, 0), CLIPREVERSE_OK) << "it is still over";
  EXPECT_EQ(clipreverse_start(job), CLIPREVERSE_ERROR_STATE);
  EXPECT_EQ(clipreverse_set_input(job, "a"), CLIPREVERSE_ERROR_STATE);
  EXPECT_EQ(clipreverse_set_output(job, "a"), CLIPREVERSE_ERROR_STATE);
  EXPECT_EQ(clipreverse_set_range(job, 0, 1), CLIPREVERSE_ERROR_STATE);
  EXPECT_EQ(job.Set("crf", "30"), CLIPREVERSE_ERROR_STATE);
}

TEST(CJob, RefusesOptionsInItsOwnWords) {
  struct Row {
    const char* key;
    const char* value;
    const char* text;
  };
  const std::vector<Row> rows = {
      {"crff", "30", "a job knows no key crff; did you mean crf?"},
      {"elephant", "1", "a job knows no key elephant; docs/keys.md lists them"},
      {"width", "1", "a job knows no key width; docs/keys.md lists them"},
      {"gop", "0", "gop takes 1 to 1000000 pictures, not 0"},
      {"sound", "no", "sound takes 0, 1, not no"},
      {"strict", "", "strict takes 0, 1, not nothing"},
      {"overwrite", "ask", "overwrite takes yes, no, not ask"},
      {"memory", "-1", "memory takes bytes, or K, M or G as in 300M, not -1"}};
  JobHandle job(SampleClip(), ScratchPath("refused.mp4"));
  for (const Row& row : rows) {
    EXPECT_EQ(job.Set(row.key, row.value), CLIPREVERSE_ERROR_OPTION) << row.key;
    EXPECT_EQ(clipreverse_error(job), CLIPREVERSE_ERROR_OPTION);
    EXPECT_EQ(job.ErrorText(), row.text);
  }
  double value = -1;
  EXPECT_EQ(clipreverse_get(job, "elephants", &value), CLIPREVERSE_ERROR_OPTION);
  EXPECT_EQ(value, -1);
  EXPECT_EQ(job.Set("target-width", "320"), CLIPREVERSE_OK);
  EXPECT_EQ(clipreverse_start(job), CLIPREVERSE_ERROR_OPTION);
  EXPECT_EQ(job.ErrorText(), "target-width does nothing alone; set target-height too");
  EXPECT_EQ(job.Set("target-height", "180"), CLIPREVERSE_OK);
  clipreverse_set_range(job, 0, 0.5);
  EXPECT_EQ(job.Run(), CLIPREVERSE_OK) << "a refused start is none";
  EXPECT_EQ(StreamFields(ScratchPath("refused.mp4"), "v").at("width"), "320");
}

TEST(CJob, SaysWhatFailedAndLeavesTheOldFile) {
  const std::string old = MakeFile("old.mp4");
  struct Row {
    std::string input;
    std::string output;
    double start;
    const char* key;
    const char* value;
    int code;
    std::string text;
  };
  const std::string sample = SampleClip();
  const std::string webm = MakeFile("old.webm");
  const std::vector<Row> rows = {
      {"absent.mp4", old, 0, "strict", "1", CLIPREVERSE_ERROR_INPUT,
       "absent.mp4 does not exist; check its name"},
      {Clip(ClipKind::kAudioOnly), old, 0, "strict", "1", CLIPREVERSE_ERROR_INPUT,
       Clip(ClipKind::kAudioOnly) + " has sound only; use a clip that has video"},
      {sample, old, 7, "strict", "1", CLIPREVERSE_ERROR_RANGE,
       sample + " ends before the range starts; use \"start\" below 6.000 s"},
      {sample, old, 0, "overwrite", "no", CLIPREVERSE_ERROR_EXISTS,
       old + " exists; choose another output, or allow it with \"overwrite\" yes"},
      {sample, webm, 0, "strict", "1", CLIPREVERSE_ERROR_OUTPUT,
       webm + " cannot hold H.264; use video-codec=libvpx-vp9 audio-codec=libopus, or .mp4, .mov, "
              ".mkv, .avi or .ts"},
      {sample, "absent/a.mp4", 0, "strict", "1", CLIPREVERSE_ERROR_OUTPUT,
       "absent/a.mp4 lies in a folder that does not exist; make the folder or choose another"},
      {old, old, 0, "strict", "1", CLIPREVERSE_ERROR_OUTPUT,
       old + " is the input itself; choose another output"}};
  for (const Row& row : rows) {
    JobHandle job(row.input, row.output);
    EXPECT_EQ(job.Set(row.key, row.value), CLIPREVERSE_OK);
    clipreverse_set_range(job, row.start, 0);
    EXPECT_EQ(job.Run(), row.code) << row.text;
    EXPECT_EQ(clipreverse_wait(job, 0), row.code) << "it stays over";
    EXPECT_EQ(clipreverse_error(job), row.code);
    EXPECT_EQ(job.ErrorText(), row.text);
    EXPECT_TRUE(IsAsBefore(old));
  }
}

// Of the packets of pictures, in their order.
std::vector<std::string> PacketHashes(const std::string& path) {
  const CommandResult result = test_support::Run(
      {"ffmpeg", "-v", "error", "-i", path, "-map", "0:v", "-c", "copy", "-f", "framehash", "-"});
  std::istringstream text(result.out);
  std::vector<std::string> hashes;
  for (std::string line; std::getline(text, line);) {
    if (line[0] != '#') hashes.push_back(line.substr(line.rfind(' ') + 1));
  }
  return hashes;
}

TEST(CJob, NamesNoOptionOfTheToolIfItCannotCopy) {
  const std::string output = ScratchPath("uncopied.mov");
  JobHandle job(Clip(ClipKind::kH264Short), output);
  ASSERT_EQ(job.Set("copy", "1"), CLIPREVERSE_OK);
  EXPECT_NE(job.Run(), CLIPREVERSE_OK);
  EXPECT_NE(job.ErrorText().find("leave \"copy\" out, which encodes its pictures anew"),
            std::string::npos)
      << job.ErrorText();
  EXPECT_EQ(job.ErrorText().find("--"), std::string::npos) << job.ErrorText();
  EXPECT_FALSE(fs::exists(output));
}

// Both are additions to the mirror. A copy without it would be another one than was asked for.
TEST(CJob, NeitherCopiesNorEncodesLikeTheSourceWithoutTheMirror) {
  const std::string source =
      CustomClip("c_prores.mov", {"-f", "lavfi", "-i", "testsrc2=size=160x120:rate=25", "-frames:v",
                                  "10", "-c:v", "prores_ks"});
  const std::string output = ScratchPath("c_plain.mov");
  JobHandle copy(source, output);
  ASSERT_EQ(copy.Set("mirror", "0"), CLIPREVERSE_OK);
  ASSERT_EQ(copy.Set("copy", "1"), CLIPREVERSE_OK);
  EXPECT_NE(copy.Run(), CLIPREVERSE_OK);
  EXPECT_EQ(copy.ErrorText(), "\"copy\" goes beyond the plain reversal; leave \"mirror\" 0 out");
  EXPECT_FALSE(fs::exists(output));
  JobHandle like(source, output);
  ASSERT_EQ(like.Set("mirror", "0"), CLIPREVERSE_OK);
  ASSERT_EQ(like.Set("like-source", "1"), CLIPREVERSE_OK);
  ASSERT_EQ(like.Run(), CLIPREVERSE_OK) << like.ErrorText();
  EXPECT_EQ(StreamFields(output, "v")["codec_name"], "h264");
}

TEST(CJob, CopiesPicturesAndEncodesLikeTheSource) {
  const std::string source =
      CustomClip("c_copy.mov", {"-f", "lavfi", "-i", "testsrc2=size=160x120:rate=25", "-frames:v",
                                "10", "-c:v", "mjpeg", "-pix_fmt", "yuvj420p"});
  const std::string output = ScratchPath("c_copy.mov");
  JobHandle copy(source, output);
  ASSERT_EQ(copy.Set("copy", "1"), CLIPREVERSE_OK);
  ASSERT_EQ(copy.Run(), CLIPREVERSE_OK) << copy.ErrorText();
  std::vector<std::string> packets = PacketHashes(source);
  ASSERT_EQ(packets.size(), 10U);
  std::reverse(packets.begin(), packets.end());
  EXPECT_EQ(PacketHashes(output), packets);
  const std::string like = ScratchPath("c_like.mov");
  JobHandle encoded(source, like);
  ASSERT_EQ(encoded.Set("like-source", "1"), CLIPREVERSE_OK);
  ASSERT_EQ(encoded.Run(), CLIPREVERSE_OK) << encoded.ErrorText();
  EXPECT_EQ(StreamFields(like, "v")["codec_name"], "mjpeg");
  EXPECT_NE(PacketHashes(like), packets);
}

TEST(CJob, TellsHowMuchMemoryItNeeds) {
  JobHandle job(SampleClip(), ScratchPath("large.mp4"));
  EXPECT_EQ(job.Set("memory", "20M"), CLIPREVERSE_OK);
  EXPECT_EQ(job.Run(), CLIPREVERSE_ERROR_MEMORY);
  EXPECT_GT(job.Get("memory-needed"), 20 << 20);
  EXPECT_THAT(job.ErrorText(), testing::HasSubstr("allow more with \"memory\""));
}

// Pictures that each stand alone, the 31st of which, at 1.2 s, is zeros.
std::string BlankedClip() {
  std::string bytes = Bytes(CustomClip(
      "c_motion.mov", {"-f", "lavfi", "-i", SceneFilter(320, 180, "25"), "-t", "2", "-c:v", "mjpeg",
                       "-pix_fmt", "yuvj420p", "-fflags", "+bitexact"}));
  constexpr char kPicture[] = "\xff\xd8\xff";
  size_t begin = bytes.find(kPicture);
  for (int i = 0; i < 30; ++i) begin = bytes.find(kPicture, begin + 1);
  const size_t end = bytes.find(kPicture, begin + 1);
  bytes.replace(begin, end - begin, end - begin, '\0');
  const std::string blanked = ScratchPath("blanked.mov");
  std::ofstream(blanked, std::ios::binary) << bytes;
  return blanked;
}

TEST(CJob, FailsOfALossIfItIsStrict) {
  const std::string output = MakeFile("strict.mp4");
  JobHandle strict(BlankedClip(), output);
  strict.Set("strict", "1");
  EXPECT_EQ(strict.Run(), CLIPREVERSE_ERROR_LOSS) << strict.ErrorText();
  EXPECT_EQ(strict.Get("lost-pictures"), 1);
  EXPECT_NEAR(strict.Get("first-loss"), 1.2, 0.001);
  EXPECT_TRUE(IsAsBefore(output));
  JobHandle lenient(BlankedClip(), output);
  EXPECT_EQ(lenient.Run(), CLIPREVERSE_OK);
  EXPECT_EQ(lenient.Get("pictures"), 49);
  EXPECT_EQ(lenient.Get("lost-pictures"), 1);
}

// The folder holds what it held before, and nothing else.
class Cancelling : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(mFolder);
    std::ofstream(mOutput) << "before";
  }
  void TearDown() override {
    EXPECT_TRUE(IsAsBefore(mOutput));
    EXPECT_THAT(Names(mFolder), testing::ElementsAre("old.mp4"));
    fs::remove_all(mFolder);
  }

  const std::string mFolder = ScratchPath("cancelling");
  const std::string mOutput = mFolder + "/old.mp4";
};

TEST_F(Cancelling, FromAnotherThread) {
  JobHandle job(LongStillClip(), mOutput);
  ASSERT_EQ(clipreverse_start(job), CLIPREVERSE_OK);
  EXPECT_EQ(clipreverse_wait(job, 0), CLIPREVERSE_RUNNING);
  EXPECT_EQ(job.Get("pictures"), 0) << "not known before the end";
  std::thread other([&job] { clipreverse_cancel(job); });
  EXPECT_EQ(clipreverse_wait(job, -1), CLIPREVERSE_ERROR_CANCELLED);
  other.join();
  EXPECT_EQ(job.ErrorText(), mOutput + " was not made: the job was cancelled");
  EXPECT_EQ(job.Get("percent"), 0);
}

TEST_F(Cancelling, BeforeTheStart) {
  JobHandle job(SampleClip(), mOutput);
  EXPECT_EQ(clipreverse_cancel(job), CLIPREVERSE_OK);
  EXPECT_EQ(job.Run(), CLIPREVERSE_ERROR_CANCELLED);
}

TEST_F(Cancelling, InTheProgressCallback) {
  JobHandle job(LongStillClip(), mOutput);
  struct Seen {
    clipreverse_job* job;
    int waited;
  } seen = {job, CLIPREVERSE_OK};
  clipreverse_set_progress(
      job,
      [](void* user, double) {
        auto* const my = static_cast<Seen*>(user);
        my->waited = clipreverse_wait(my->job, 0);
        clipreverse_cancel(my->job);
      },
      &seen);
  EXPECT_EQ(job.Run(), CLIPREVERSE_ERROR_CANCELLED);
  EXPECT_EQ(seen.waited, CLIPREVERSE_ERROR_STATE);
}

TEST_F(Cancelling, ByFreeing) {
  JobHandle job(LongStillClip(), mOutput);
  ASSERT_EQ(clipreverse_start(job), CLIPREVERSE_OK);
}

TEST(CJob, TellsItsProgressInTheThreadThatWaits) {
  struct Told {
    std::vector<double> percents;
    bool isHere = true;
    std::thread::id thread = std::this_thread::get_id();
  } told;
  JobHandle job(SampleClip(), ScratchPath("told.mp4"));
  clipreverse_set_progress(
      job,
      [](void* user, double percent) {
        auto* const my = static_cast<Told*>(user);
        my->isHere = my->isHere && std::this_thread::get_id() == my->thread;
        my->percents.push_back(percent);
      },
      &told);
  ASSERT_EQ(clipreverse_start(job), CLIPREVERSE_OK);
  EXPECT_TRUE(told.percents.empty());
  EXPECT_EQ(clipreverse_wait(job, -1), CLIPREVERSE_OK);
  EXPECT_TRUE(told.isHere);
  ASSERT_FALSE(told.percents.empty());
  EXPECT_TRUE(std::is_sorted(told.percents.begin(), told.percents.end()));
  EXPECT_EQ(told.percents.back(), 100);
  EXPECT_EQ(std::count(told.percents.begin(), told.percents.end(), 100.0), 1);
}

TEST(CJob, OutlivesCallbacksThatThrow) {
  JobHandle job(SampleClip(), ScratchPath("thrown.mp4"));
  ASSERT_EQ(clipreverse_start(job), CLIPREVERSE_OK);
  clipreverse_set_progress(
      job, [](void*, double) { throw 1; }, nullptr);
  EXPECT_EQ(clipreverse_wait(job, -1), CLIPREVERSE_ERROR_HOST);
  clipreverse_set_progress(job, nullptr, nullptr);
  EXPECT_EQ(clipreverse_wait(job, -1), CLIPREVERSE_OK);
}

}  // namespace
}  // namespace test_support
