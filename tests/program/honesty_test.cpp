// SPDX-License-Identifier: MIT
// Faults around the program: what it leaves behind and what its exit status says.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

constexpr int kFailure = 255;
// No run here has more than three seconds of video to do; this only tells a hang from slowness.
constexpr std::chrono::seconds kNotForEver(100);
// Of ClipKind::kH264Short.
constexpr size_t kPictures = 75;

// Which others depends on the container.
const std::string kUseOthers = "; use ";
constexpr char kDiskFull[] =
    " did not fit on its disk, which is full; free some room or use another disk";

std::string Source() { return Clip(ClipKind::kH264Short); }

CommandResult Reverse(const std::string& input, const std::string& output) {
  return RunProgram({"-i", input, "-o", output}, kNotForEver);
}

// Runs shell text in which $0 is the program; the words after it are $1 and so on.
CommandResult Shell(const std::string& text, const std::vector<std::string>& words) {
  std::vector<std::string> arguments = {"bash", "-c", text, ProgramPath()};
  arguments.insert(arguments.end(), words.begin(), words.end());
  return Run(arguments, kNotForEver);
}

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool Contains(const std::string& text, const std::string& piece) {
  return text.find(piece) != std::string::npos;
}

// The last line, which tells a person what to do.
std::string Advice(const CommandResult& result) {
  const std::string tag = "[reverse::Main] ";
  const size_t begin = result.err.rfind(tag);
  if (begin == std::string::npos || result.err.find('\n', begin) + 1 != result.err.size())
    return "";
  return result.err.substr(begin + tag.size(), result.err.size() - begin - tag.size() - 1);
}

// The run failed and said so in its last two lines: the reason, and `advice` after the output.
void ExpectHonestFailure(const CommandResult& result, const std::string& output,
                         const std::string& advice) {
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(result.status, kFailure) << result.err;
  const size_t last = result.err.rfind("could not write " + output + ": ");
  ASSERT_NE(last, std::string::npos) << result.err;
  EXPECT_EQ(std::count(result.err.begin() + static_cast<long>(last), result.err.end(), '\n'), 2);
  EXPECT_EQ(Advice(result).rfind(output + advice, 0), 0U) << Advice(result);
  const size_t progress = result.err.rfind("progress:");
  EXPECT_EQ(result.err.substr(progress, 16), "progress:100.000");
}

TEST(Honesty, FailsForContainersThatDoNotTakeTheCodecs) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"webm", "H.264"}, {"gif", "H.264"}, {"mp3", "H.264"}, {"ogg", "H.264"}, {"wav", "H.264"},
      {"yuv", "H.264"},  {"jpg", "H.264"}, {"swf", "H.264"}, {"h264", "AAC"}};
  for (const auto& [extension, codec] : rows) {
    const std::string output = ScratchPath("refused." + extension);
    const CommandResult result = Reverse(Source(), output);
    ExpectHonestFailure(result, output, " cannot hold " + codec + kUseOthers);
    EXPECT_TRUE(Contains(result.err, "Could not write the header of '" + output)) << extension;
    EXPECT_FALSE(fs::exists(output)) << extension;
  }
}

TEST(Honesty, StopsDecodingOnceTheHeaderIsRefused) {
  const CommandResult result =
      RunProgram({"-v", "-i", LongStillClip(), "-o", ScratchPath("early.webm")});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_FALSE(Contains(result.err, "Error encoding"));
  EXPECT_TRUE(Contains(result.err, "encode video frames:0,"));
}

// FFmpeg's choice for such names would be MPEG-PS, which holds H.264 but no AAC.
TEST(Honesty, RefusesNamesThatTellNoContainer) {
  const std::string silent = test_support::Clip(test_support::ClipKind::kH264NoAudio);
  for (const std::string& input : {silent, Source()}) {
    for (const std::string& output :
         {ScratchPath("a.xyz"), ScratchPath("none"), std::string("/dev/stdout")}) {
      const CommandResult result = Reverse(input, output);
      EXPECT_EQ(result.status, kFailure);
      EXPECT_EQ(
          Advice(result),
          output + " has no extension that says what to write; use .mp4, .mov, .mkv, .avi or .ts");
      EXPECT_TRUE(result.out.empty());
    }
    EXPECT_FALSE(fs::exists(ScratchPath("a.xyz")));
  }
}

TEST(Honesty, LeavesAFileThatWasThereBefore) {
  const std::string output = ScratchPath("kept.webm");
  std::ofstream(output) << "before";
  ExpectHonestFailure(Reverse(Source(), output), output, " cannot hold H.264" + kUseOthers);
  EXPECT_TRUE(fs::exists(output));
}

TEST(Honesty, FailsOnAFullDevice) {
  const std::string output = ScratchPath("full.ts");
  fs::create_symlink("/dev/full", output);
  const CommandResult result = Reverse(Source(), output);
  ExpectHonestFailure(result, output, kDiskFull);
  EXPECT_TRUE(Contains(result.err, "No space left on device"));
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(output)));
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST(Honesty, FailsOnAFullDiskAndRemovesItsFile) {
  const std::string disk = ScratchPath("disk");
  fs::create_directory(disk);
  if (mount("none", disk.c_str(), "tmpfs", 0, "size=64k") != 0) GTEST_SKIP() << "no right to mount";
  for (const char* name : {"x.mp4", "x.mkv", "x.ts"}) {
    const std::string output = (fs::path(disk) / name).string();
    const CommandResult result = Reverse(Source(), output);
    ExpectHonestFailure(result, output, kDiskFull);
    EXPECT_TRUE(Contains(result.err, "No space left on device"));
    EXPECT_FALSE(fs::exists(output)) << name;
  }
  umount(disk.c_str());
}

TEST(Honesty, FailsAtTheLimitOfAFilesSize) {
  for (const char* name : {"limited.mp4", "limited.mkv", "limited.ts"}) {
    const std::string output = ScratchPath(name);
    const CommandResult result =
        Shell("ulimit -f 40; exec \"$0\" -i \"$1\" -o \"$2\"", {Source(), output});
    ExpectHonestFailure(
        result, output,
        " outgrew the largest file allowed; raise \"ulimit -f\" or use another disk");
    EXPECT_TRUE(Contains(result.err, "File too large"));
    EXPECT_FALSE(fs::exists(output)) << name;
  }
}

TEST(Honesty, FailsWhereTheReaderOfAPipeGoesAway) {
  const std::string output = ScratchPath("pipe.ts");
  ASSERT_EQ(mkfifo(output.c_str(), 0600), 0);
  const CommandResult result =
      Shell("head -c 2000 <\"$2\" >/dev/null & \"$0\" -i \"$1\" -o \"$2\"", {Source(), output});
  ExpectHonestFailure(result, output, " lost the program that read it; write to a file instead");
  EXPECT_TRUE(fs::is_fifo(output)) << "the pipe is not ours to remove";
}

TEST(Honesty, FailsWhereTheOutputIsADirectory) {
  const std::string output = ScratchPath("folder.mp4");
  fs::create_directory(output);
  const CommandResult result = Reverse(Source(), output);
  EXPECT_EQ(result.status, kFailure);
  EXPECT_TRUE(Contains(result.err, "'" + output + "': Is a directory")) << result.err;
  EXPECT_EQ(Advice(result), output + " is a folder; name a file in it");
  EXPECT_TRUE(fs::is_directory(output));
}

TEST(Honesty, TellsWhyAnOutputCannotBeOpened) {
  const std::string output = ScratchPath("none/such.mp4");
  const CommandResult result = Reverse(Source(), output);
  EXPECT_EQ(result.status, kFailure);
  EXPECT_TRUE(Contains(result.err, "'" + output + "': No such file or directory"));
  EXPECT_TRUE(Contains(result.err, "Reverse init error"));
  EXPECT_EQ(Advice(result),
            output + " lies in a folder that does not exist; make the folder or choose another");
}

TEST(Honesty, TellsWhatToDoAboutAnInputThatDoesNotServe) {
  const std::string text = ScratchPath("notes.txt");
  std::ofstream(text) << "no clip";
  const std::string sound = Clip(ClipKind::kAudioOnly);
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", "no input is named; name it with -i FILE"},
      {"absent.mp4", "absent.mp4 does not exist; check the name after -i"},
      {text, text + " is no media file, or is cut off; use a whole video that other players open"},
      {sound, sound + " has sound only; use a clip that has video"},
      {"/dev/zero",
       "/dev/zero cannot be reversed: it is a character device, which cannot be read backwards; "
       "use a media file"},
  };
  for (const auto& [input, advice] : rows) {
    EXPECT_EQ(Advice(Reverse(input, ScratchPath("unmade.mp4"))), advice);
  }
  // Also where every line is logged, the job's own last ones included.
  EXPECT_EQ(Advice(RunProgram({"-v", "-i", "absent.mp4", "-o", "x.mp4"})), rows[1].second);
}

// Copies of a clip that name a codec which nobody knows.
TEST(Honesty, NamesAnUnknownCodecOfTheVideo) {
  struct Row {
    std::string extension, known, other, name;
  };
  const Row rows[] = {{".mp4", "avc1", "zvc1", " (zvc1)"},
                      {".mkv", "V_MPEG4/ISO/AVC", "V_MPEG4/ISO/ABC", ""}};
  for (const Row& row : rows) {
    const std::string clip =
        test_support::CustomClip("known_codec" + row.extension, {"-i", Source(), "-c", "copy"});
    const std::string input =
        test_support::ReplacedCopy(clip, row.known, row.other, "unknown_codec" + row.extension);
    EXPECT_EQ(Advice(Reverse(input, ScratchPath("unmade.mp4"))),
              input + " cannot be reversed: the codec of its video" + row.name +
                  " is unknown; convert it with a program that plays it");
  }
}

TEST(Honesty, TellsWhatToDoAboutARangeBehindTheClip) {
  const std::string source = Clip(ClipKind::kH264NoAudio);
  EXPECT_EQ(Advice(RunProgram({"-i", source, "-o", ScratchPath("unmade.mp4"), "-s", "5"})),
            source + " ends before the range starts; use -s below 5.000 s");
}

TEST(Honesty, TellsARangeThatLiesBetweenTwoPictures) {
  const std::string output = ScratchPath("unmade.mp4");
  const CommandResult result =
      RunProgram({"-i", Source(), "-o", output, "-s", "1.01", "-e", "1.02"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_EQ(Advice(result), Source() +
                                " has no picture that begins in the range from 1.010 s to 1.020 s; "
                                "make it longer with -s and -e");
  EXPECT_FALSE(fs::exists(output));
}

// MP4 is written back and forth; what can be written in one go may go into a pipe.
TEST(Honesty, TellsAPipeThatItsContainerCannotGoTo) {
  for (const char* name : {"out.mp4", "out.ts"}) {
    const std::string pipe = ScratchPath(name);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const CommandResult result =
        Shell("cat <\"$2\" >/dev/null & exec \"$0\" -i \"$1\" -o \"$2\" -s 2", {Source(), pipe});
    const bool isMp4 = pipe.back() == '4';
    EXPECT_EQ(result.status, isMp4 ? kFailure : 0) << result.err;
    if (!isMp4) continue;
    EXPECT_EQ(Advice(result), pipe +
                                  " is a pipe (FIFO), and this container is written back and "
                                  "forth; use .mkv or .ts for it, or write to a file");
  }
}

TEST(Honesty, TellsWhatToDoWithoutAnOutput) {
  EXPECT_EQ(Advice(RunProgram({"-i", Source()})),
            "no output is named; name it with -o FILE, as in -o reversed.mp4");
}

TEST(Honesty, TellsWhereAFileMayNotBeReadOrWritten) {
  if (geteuid() == 0) GTEST_SKIP() << "root may everything";
  const std::string locked = ScratchPath("locked.mp4");
  fs::copy_file(Source(), locked);
  fs::permissions(locked, fs::perms::none);
  EXPECT_EQ(Advice(Reverse(locked, ScratchPath("unmade.mp4"))),
            locked + " may not be read; allow it with chmod +r, or ask its owner");
  EXPECT_EQ(Advice(Reverse(Source(), locked)),
            locked + " may not be written; choose a folder that you may write to");
}

TEST(Honesty, RefusesInputsThatCannotBeReadBackwards) {
  const std::string pipe = ScratchPath("input.pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string output = ScratchPath("never.mp4");
  for (const std::string& input :
       {pipe, ScratchPath(""), std::string("/dev/zero"), std::string("/dev/stdin"),
        std::string("pipe:0"), std::string("http://127.0.0.1:9/x.mp4"), std::string("tcp://x")}) {
    const CommandResult result = Reverse(input, output);
    EXPECT_FALSE(result.timedOut) << input;
    EXPECT_EQ(result.status, kFailure) << input;
    EXPECT_TRUE(Contains(result.err, "Could not open source file " + input)) << result.err;
    EXPECT_FALSE(fs::exists(output));
  }
}

TEST(Honesty, OpensFilesWhoseNamesLookLikeSomethingElse) {
  const std::string folder = ScratchPath("odd names");
  fs::create_directory(folder);
  const std::vector<std::string> names = {"a:b.mp4",  "http:x.mp4",  "pipe:1.mp4",
                                          "100%.mp4", "%03d.mp4",    "two\nlines.mp4",
                                          "-v.mp4",   "file:in.mp4", "sub file,,:.mp4"};
  for (const std::string& name : names) {
    const fs::path clip = fs::path(folder) / name;
    fs::copy_file(Source(), clip);
    // By its bare name, as a person in that folder would write it. What stands before the output's
    // colon is a protocol's name too, by its letters.
    const std::string output = "o-" + name;
    const CommandResult result =
        Shell("cd \"$1\" && exec \"$0\" -i \"$2\" -o \"$3\" -s 2.5", {folder, name, output});
    EXPECT_EQ(result.status, 0) << name << '\n' << result.err;
    EXPECT_FALSE(VideoTimes("file:" + (fs::path(folder) / output).string()).empty()) << output;
  }
}

TEST(Honesty, NeverWritesToItsInputUnderAnotherName) {
  const std::string folder = ScratchPath("same");
  fs::create_directories(folder + "/dir");
  const std::string input = folder + "/in.mp4";
  fs::copy_file(Source(), input);
  fs::create_hard_link(input, folder + "/hard.mp4");
  fs::create_symlink("in.mp4", folder + "/soft.mp4");
  const std::string before = Bytes(input);
  for (const char* name : {"in.mp4", "./in.mp4", "dir/../in.mp4", "hard.mp4", "soft.mp4",
                           "file:in.mp4", "file:./hard.mp4"}) {
    const CommandResult result =
        Shell("cd \"$1\" && exec \"$0\" -i in.mp4 -o \"$2\"", {folder, name});
    EXPECT_EQ(result.status, kFailure) << name;
    EXPECT_TRUE(Contains(result.err, "is the input file")) << name;
    EXPECT_EQ(Bytes(input), before) << name;
  }
}

TEST(Honesty, RefusesTimesThatAreNoNumbers) {
  for (const char* flag : {"-s", "-e"}) {
    for (const char* value : {"nan", "NAN", "-nan"}) {
      const std::string output = ScratchPath("nan.mp4");
      const CommandResult result =
          RunProgram({"-i", Source(), "-o", output, flag, value}, kNotForEver);
      EXPECT_EQ(result.status, kFailure);
      EXPECT_TRUE(Contains(result.err, std::string("option ") + flag + " needs a number, not " +
                                           value + "; give seconds, as in " + flag + " 2.5"));
      EXPECT_FALSE(fs::exists(output));
    }
  }
}

TEST(Honesty, BringsInfiniteTimesIntoTheClip) {
  const std::string output = ScratchPath("infinite.mp4");
  const CommandResult whole =
      RunProgram({"-i", Source(), "-o", output, "-s", "-inf", "-e", "inf"}, kNotForEver);
  EXPECT_EQ(whole.status, 0);
  EXPECT_TRUE(Contains(whole.err, "reverse length overflow"));
  EXPECT_EQ(VideoTimes(output).size(), kPictures);
  const CommandResult behind = RunProgram({"-i", Source(), "-o", output, "-s", "inf"}, kNotForEver);
  EXPECT_EQ(behind.status, kFailure);
  EXPECT_TRUE(Contains(behind.err, "error reverse start position"));
}

TEST(Honesty, RefusesAnEmptyRangeAndLeavesTheOutputAsItWas) {
  const std::string output = ScratchPath("empty.mp4");
  std::ofstream(output) << "before";
  for (const std::string end : {"1", "2"}) {
    const CommandResult result =
        RunProgram({"-i", Source(), "-o", output, "-s", "2", "-e", end}, kNotForEver);
    EXPECT_EQ(result.status, kFailure) << result.err;
    EXPECT_EQ(Advice(result), Source() + " cannot be reversed from 2.000 s to " + end +
                                  ".000 s, which is an empty range; use -e above 2.000 s");
    EXPECT_EQ(Bytes(output), "before");
  }
}

TEST(Honesty, SucceedsWithoutPicturesForAnEmptyRangeIfPlain) {
  const std::string output = ScratchPath("empty_plain.mp4");
  const CommandResult result =
      RunProgram({"--plain", "-i", Source(), "-o", output, "-s", "2", "-e", "1"}, kNotForEver);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(fs::exists(output));
  EXPECT_TRUE(VideoTimes(output).empty());
}

TEST(Honesty, SurvivesBeingKilledAtAnyMoment) {
  constexpr unsigned kSeed = 20;
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> seconds(0.01, 0.5);
  const std::string input = ScratchPath("victim.mp4");
  fs::copy_file(Source(), input);
  const std::string before = Bytes(input);
  const std::string output = ScratchPath("killed.mp4");
  for (int i = 0; i < 8; ++i) {
    const std::string after = std::to_string(seconds(random));
    test_support::Run({"timeout", "-s", "KILL", after, ProgramPath(), "-i", input, "-o", output},
                      kNotForEver);
    ASSERT_EQ(Bytes(input), before) << "seed " << kSeed << ", killed after " << after;
  }
  EXPECT_EQ(Reverse(input, output).status, 0);
  EXPECT_EQ(VideoTimes(output).size(), kPictures);
}

}  // namespace
}  // namespace test_support
