// SPDX-License-Identifier: MIT
// What a run tells of its pictures and its sound, and of losses.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"
#include "tests/support/picture_count.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

constexpr int kFailure = 255;

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Write(const std::string& name, const std::string& bytes) {
  const std::string path = ScratchPath(name);
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

// Two seconds of pictures that each stand alone, 25 a second, with sound in packets of 1024 samples
// of 48 kHz.
std::string Motion() {
  return CustomClip("account_motion.mov",
                    {"-f",   "lavfi", "-i",       SceneFilter(320, 180, "25"),
                     "-f",   "lavfi", "-i",       SweepFilter(48000, "stereo"),
                     "-t",   "2",     "-c:v",     "mjpeg",
                     "-q:v", "5",     "-pix_fmt", "yuvj420p",
                     "-c:a", "aac",   "-fflags",  "+bitexact"});
}

// Fields of the packets of a stream, in the order of the file.
std::vector<std::string> PacketFields(const std::string& clip, const std::string& stream,
                                      const std::string& fields) {
  const CommandResult packets =
      Run({"ffprobe", "-v", "error", "-select_streams", stream, "-show_entries", "packet=" + fields,
           "-of", "default=nk=1:nw=1", clip});
  std::vector<std::string> words;
  AppendWords(packets.out, &words);
  return words;
}

// A copy without the bytes of these packets of a stream: they are zero.
std::string Blanked(const std::string& clip, const std::string& stream,
                    const std::vector<size_t>& numbers, const std::string& name) {
  const std::vector<std::string> packets = PacketFields(clip, stream, "size,pos");
  std::string bytes = Bytes(clip);
  for (const size_t number : numbers) {
    const size_t size = std::stoul(packets.at(2 * number));
    bytes.replace(std::stoul(packets.at(2 * number + 1)), size, size, '\0');
  }
  return Write(name, bytes);
}

// The line of a warning of the program itself that has this text; empty if there is none.
std::string Warning(const CommandResult& result, const std::string& text) {
  const size_t at = result.err.find(text);
  if (at == std::string::npos) return "";
  const size_t begin = result.err.rfind('\n', at) + 1;
  const std::string line = result.err.substr(begin, result.err.find('\n', at) - begin);
  return line.find("warning [reverse::Main] ") == std::string::npos ? "" : line;
}

TEST(Account, SaysWhatWasReversed) {
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264), "-o", ScratchPath("whole.mp4"), "--strict"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(ReversedLine(result.err), "150 pictures and 6.000 s of sound reversed");
  EXPECT_EQ(Warning(result, "could not"), "");
}

TEST(Account, CountsTheRangeAlone) {
  const CommandResult result = RunProgram(
      {"-i", Clip(ClipKind::kH264NoAudio), "-o", ScratchPath("range.mp4"), "-s", "1", "-e", "3"});
  EXPECT_EQ(ReversedLine(result.err), "50 pictures reversed");
}

TEST(Account, TellsThePicturesThatCannotBeDecoded) {
  const std::string clip = Blanked(Motion(), "v:0", {10, 31, 32}, "blank_pictures.mov");
  ASSERT_EQ(CountDecodable(clip, 2), 47);
  const CommandResult result = RunProgram({"-i", clip, "-o", ScratchPath("pictures.mp4")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(ReversedLine(result.err), "47 pictures and 2.000 s of sound reversed");
  EXPECT_NE(Warning(result, "3 pictures could not be decoded (the first at 0.400 s)"), "")
      << result.err;
}

// A copy of an MP4 or MOV file whose index places these chunks of the first track far outside.
std::string WithHoles(const std::string& clip, const std::vector<size_t>& numbers,
                      const std::string& name) {
  std::string bytes = Bytes(clip);
  const size_t table = bytes.find("stco") + 4;
  constexpr size_t kHead = 8;  // flags and the number of chunks
  for (const size_t number : numbers) bytes.at(table + kHead + 4 * number) = 0x70;
  return Write(name, bytes);
}

// FFmpeg takes a packet outside of the file for the end of it.
TEST(Account, HasThePicturesAfterPacketsThatTheIndexPlacesOutsideOfTheFile) {
  const std::string motion = Motion();
  ASSERT_EQ(static_cast<uint8_t>(Bytes(motion).at(Bytes(motion).find("stco") + 11)), 50);
  const std::string clip = WithHoles(motion, {10, 31}, "holes.mov");
  const std::string output = ScratchPath("holes_out.mov");
  const CommandResult result = RunProgram({"-i", clip, "-o", output, "--set", "video-codec=mjpeg"});
  EXPECT_EQ(ReversedLine(result.err), "48 pictures and 2.000 s of sound reversed") << result.err;
  EXPECT_NE(Warning(result, "2 pictures could not be decoded (the first at 0.400 s)"), "")
      << result.err;
  EXPECT_EQ(CountPackets(output), 48);
  EXPECT_EQ(RunProgram({"-i", clip, "-o", ScratchPath("strict.mov"), "--strict"}).status, kFailure);
  const std::string copy = ScratchPath("holes_copy.mov");
  const CommandResult copied = RunProgram({"-i", clip, "-o", copy, "--copy"});
  EXPECT_EQ(copied.status, 0) << copied.err;
  EXPECT_EQ(CountPackets(copy), 48);
  EXPECT_NE(Warning(copied, "2 pictures"), "") << copied.err;
}

// Of a range only what was lost in it.
TEST(Account, TellsTheLossesOfTheRangeAlone) {
  const std::string clip = Blanked(Motion(), "v:0", {10, 31, 32}, "blank_range.mov");
  const CommandResult result =
      RunProgram({"-i", clip, "-o", ScratchPath("partly.mp4"), "-s", "1", "-e", "1.28"});
  EXPECT_NE(Warning(result, "1 picture could not be decoded (the first at 1.240 s)"), "")
      << result.err;
  const CommandResult before = RunProgram(
      {"-i", clip, "-o", ScratchPath("before.mp4"), "-s", "0.6", "-e", "1.2", "--strict"});
  EXPECT_EQ(before.status, 0) << before.err;
}

TEST(Account, TellsTheSoundThatCannotBeDecoded) {
  const std::string clip = Blanked(Motion(), "a:0", {40, 41, 42}, "blank_sound.mov");
  const CommandResult result = RunProgram({"-i", clip, "-o", ScratchPath("sound.mp4")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(ReversedLine(result.err), "50 pictures and 2.000 s of sound reversed");
  EXPECT_NE(Warning(result, "0.064 s of sound could not be decoded (the first at 0.8"), "")
      << result.err;
}

// Nothing is heard for more than a second, which takes several readings.
TEST(Account, TellsALongStretchOfSoundThatCannotBeDecoded) {
  std::vector<size_t> numbers;
  for (size_t i = 0; i < 70; ++i) numbers.push_back(i);
  const std::string clip = Blanked(Motion(), "a:0", numbers, "blank_start.mov");
  const CommandResult result = RunProgram({"-i", clip, "-o", ScratchPath("start.mp4")});
  EXPECT_EQ(result.status, 0) << result.err;
  // 70 packets, but the first one lies before the clip.
  EXPECT_NE(Warning(result, "1.472 s of sound could not be decoded (the first at 0.0"), "")
      << result.err;
}

// A recording that was cut in the middle of a group: its sound begins, and no picture can be shown.
TEST(Account, TellsThePicturesBeforeTheFirstKeyPicture) {
  const std::string whole = CustomClip("account_groups.ts", {"-f",
                                                             "lavfi",
                                                             "-i",
                                                             SceneFilter(320, 180, "25"),
                                                             "-f",
                                                             "lavfi",
                                                             "-i",
                                                             SweepFilter(48000, "stereo"),
                                                             "-t",
                                                             "4",
                                                             "-c:v",
                                                             "libx264",
                                                             "-g",
                                                             "25",
                                                             "-sc_threshold",
                                                             "0",
                                                             "-bf",
                                                             "0",
                                                             "-c:a",
                                                             "aac"});
  const std::vector<std::string> positions = PacketFields(whole, "v:0", "pos");
  const std::string cut =
      Write("cut_in_group.ts", Bytes(whole).substr(std::stoul(positions.at(15))));
  const CommandResult result = RunProgram({"-i", cut, "-o", ScratchPath("cut.mp4")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(ReversedLine(result.err).find("75 pictures and "), std::string::npos) << result.err;
  EXPECT_NE(Warning(result, " pictures could not be decoded (the first at 0.0"), "") << result.err;
}

TEST(Account, MakesAFailureOfALossIfAsked) {
  const std::string clip = Blanked(Motion(), "v:0", {10}, "blank_strict.mov");
  const std::string output = Write("strict.mp4", "before");
  const CommandResult result = RunProgram({"-i", clip, "-o", output, "--strict"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_EQ(Bytes(output), "before");
  EXPECT_EQ(result.err.find("could not write"), std::string::npos) << result.err;
  EXPECT_NE(Warning(result, "1 picture could not be decoded (the first at 0.400 s)"), "");
  EXPECT_NE(result.err.find("[reverse::Main] " + clip +
                            " cannot be reversed without a loss; leave "
                            "--strict out to reverse what is left\n"),
            std::string::npos)
      << result.err;
}

// Of pictures of one time a player shows the last.
TEST(Account, TellsThePicturesWithoutATimeOfTheirOwn) {
  const std::string clip =
      CustomClip("account_pairs.mkv", {"-f", "lavfi", "-i", SceneFilter(640, 360, "25"), "-t", "2",
                                       "-vf", "setpts='floor(N/2)*2/25/TB'", FrameTimingOption(),
                                       "passthrough", "-c:v", "libx264", "-bf", "0"});
  const std::string output = ScratchPath("pairs.mkv");
  const CommandResult result = RunProgram({"-i", clip, "-o", output});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(ReversedLine(result.err), "25 pictures reversed");
  EXPECT_NE(Warning(result, "25 pictures shared a time with the next (the first at 0.000 s)"), "")
      << result.err;
  int number = 49;
  for (const Picture& picture : DecodeLuma(output)) {
    EXPECT_EQ(ReadFrameNumber(picture), number);
    number -= 2;
  }
}

// A copy of a Matroska file whose cluster of this time, in milliseconds, says another.
std::string WithClusterMoved(const std::string& clip, unsigned from, unsigned to,
                             const std::string& name) {
  const auto time = [](unsigned milliseconds) {
    return std::string("\xE7\x82") + static_cast<char>(milliseconds >> 8) +
           static_cast<char>(milliseconds & 0xFF);
  };
  std::string bytes = Bytes(clip);
  const size_t at = bytes.find(time(from));
  if (at == std::string::npos) return "";
  return Write(name, bytes.replace(at, 4, time(to)));
}

// Where times go back in the file, a seek leads elsewhere: some pictures stand where no step reads
// them, others come after pictures that they should come before.
TEST(Account, TellsThePicturesThatNoSeekFinds) {
  const std::string whole =
      CustomClip("account_clusters.mkv",
                 {"-f", "lavfi", "-i", SceneFilter(160, 90, "25"), "-t", "4", "-c:v", "mjpeg",
                  "-cluster_time_limit", "400", "-cluster_size_limit", "9000000"});
  ASSERT_EQ(CountPackets(whole), 100);
  for (const unsigned to : {3000U, 300U}) {
    const std::string clip =
        WithClusterMoved(whole, 1640, to, "moved_" + std::to_string(to) + ".mkv");
    ASSERT_NE(clip, "");
    const std::string output = ScratchPath("moved.mkv");
    EXPECT_EQ(RunProgram({"-i", clip, "-o", output, "--strict"}).status, kFailure);
    const CommandResult reversed = RunProgram({"-i", clip, "-o", output});
    const std::string warning = Warning(reversed, "warning [reverse::Main] ");
    const std::regex count("([0-9]+) pictures? (could|shared)");
    long lost = 0;
    for (std::sregex_iterator one(warning.begin(), warning.end(), count), none; one != none;
         ++one) {
      lost += std::stol((*one)[1]);
    }
    EXPECT_EQ(std::stol(ReversedLine(reversed.err)) + lost, 100) << reversed.err;
  }
}

// AVI tells when packets are decoded; the last pictures come later than that.
TEST(Account, HasTheLastPicturesOfAnAviWithReorderedOnes) {
  for (const std::string coding : {"libx264", "mpeg4"}) {
    const std::string clip = CustomClip("account_" + coding + ".avi",
                                        {"-f", "lavfi", "-i", SceneFilter(400, 80, "25"), "-t", "3",
                                         "-c:v", coding, "-bf", "2", "-q:v", "2"});
    const std::string output = ScratchPath(coding + ".mp4");
    const CommandResult result = RunProgram({"-i", clip, "-o", output});
    EXPECT_EQ(ReversedLine(result.err), "75 pictures reversed") << coding;
    EXPECT_EQ(ReadFrameNumber(DecodeLuma(output).front()), 74) << coding;
  }
}

// Four seconds with sound, the index of an MP4 first.
std::string MotionIn(const std::string& extension, const std::string& coding) {
  std::vector<std::string> words = {"-f", "lavfi", "-i",   SceneFilter(320, 180, "25"),
                                    "-f", "lavfi", "-i",   SweepFilter(48000, "stereo"),
                                    "-t", "4",     "-c:v", coding,
                                    "-g", "25",    "-c:a", "libmp3lame"};
  if (extension == ".mp4") AppendWords("-movflags +faststart", &words);
  return CustomClip("account_" + coding + "_whole" + extension, words);
}

struct CutClip {
  const char* extension;
  const char* coding;
};

class CutOffClips : public testing::TestWithParam<CutClip> {
 protected:
  // The first part of the clip, and what is to be said of it.
  void SetUp() override {
    const std::string bytes = Bytes(MotionIn(GetParam().extension, GetParam().coding));
    const size_t held = bytes.size() * 6 / 10;
    mCut = Write(std::string("cut") + GetParam().extension, bytes.substr(0, held));
    mMissing = std::to_string(bytes.size() - held);
    mText = "the file is cut off: " + mMissing + " of its " + std::to_string(bytes.size()) +
            " bytes are missing";
    mOutput = Write(std::string("cut_output") + GetParam().extension, "before");
  }

  CommandResult Reverse(const std::vector<std::string>& options) const {
    std::vector<std::string> arguments = {"-i", mCut, "-o", mOutput};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunProgram(arguments);
  }

  std::string mCut;
  std::string mMissing;
  std::string mText;
  std::string mOutput;
};

// The demuxers end such a file as they end a whole one.
TEST_P(CutOffClips, AreALoss) {
  const CommandResult strict = Reverse({"--strict"});
  EXPECT_EQ(strict.status, kFailure);
  EXPECT_NE(Warning(strict, mText), "") << strict.err;
  EXPECT_EQ(Bytes(mOutput), "before");
  const CommandResult kept = Reverse({"--progress", "json"});
  EXPECT_EQ(kept.status, 0) << kept.err;
  EXPECT_NE(Warning(kept, mText), "") << kept.err;
  EXPECT_NE(kept.err.find("\"missing_bytes\":" + mMissing), std::string::npos) << kept.err;
}

TEST_P(CutOffClips, AreWholeBeforeTheCut) {
  const CommandResult before = Reverse({"-e", "1.5", "--strict"});
  EXPECT_EQ(before.status, 0) << before.err;
  EXPECT_EQ(Warning(before, "cut off"), "") << before.err;
}

TEST_P(CutOffClips, ArePlainlyReversedAsBefore) {
  const CommandResult plain = Reverse({"--plain"});
  EXPECT_EQ(plain.status, 0) << plain.err;
  EXPECT_EQ(plain.err.find("cut off"), std::string::npos);
}

TEST_P(CutOffClips, AreNotThoseThatAreWhole) {
  const CommandResult whole = RunProgram(
      {"-i", MotionIn(GetParam().extension, GetParam().coding), "-o", mOutput, "--strict"});
  EXPECT_EQ(whole.status, 0) << whole.err;
}

INSTANTIATE_TEST_SUITE_P(Account, CutOffClips,
                         testing::Values(CutClip{".mkv", "libx264"}, CutClip{".avi", "mpeg4"},
                                         CutClip{".mp4", "mpeg4"}));

TEST(Account, TellsThatACopiedFileIsCutOff) {
  const std::string bytes = Bytes(MotionIn(".mkv", "mjpeg"));
  const std::string cut = Write("cut_copied.mkv", bytes.substr(0, bytes.size() / 2));
  const std::string output = ScratchPath("cut_copy.mkv");
  const CommandResult strict = RunProgram({"-i", cut, "-o", output, "--copy", "--strict"});
  EXPECT_EQ(strict.status, kFailure);
  EXPECT_NE(Warning(strict, "the file is cut off: "), "") << strict.err;
  const CommandResult before =
      RunProgram({"-i", cut, "-o", output, "--copy", "-e", "1", "--strict"});
  EXPECT_EQ(before.status, 0) << before.err;
}

TEST(Account, LeavesThePlainReversalAsItIs) {
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264), "-o", ScratchPath("plain.mp4"), "--plain"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(ReversedLine(result.err), "");
}

}  // namespace
}  // namespace test_support
