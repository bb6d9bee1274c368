// SPDX-License-Identifier: MIT
// What happens to a file that stands at the output, in runs that end well, fail or are killed.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "reverse/reverse.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

constexpr int kFailure = 255;
constexpr std::chrono::seconds kNotForEver(100);
// Of ClipKind::kH264Short.
constexpr size_t kPictures = 75;
// No clip, so that it is told apart from any output.
constexpr char kOld[] = "what stood there before";

// Starts $0 on the clip $1 with the output $2, as a shell's foreground does it, and waits until it
// is at work. Its number is in `run`.
constexpr char kStarted[] =
    "env --default-signal=INT \"$0\" -i \"$1\" -o \"$2\" 2>\"$2\".log & run=$!; "
    "until grep -q progress: \"$2\".log; do kill -0 $run && sleep 0.01 || exit 99; done; "
    "rm \"$2\".log; ";

// Waits until the run of that number has opened the file without a name that it writes.
constexpr char kUntilAside[] =
    "until [[ -n $(find /proc/$run/fd -lname '*(deleted)' 2>/dev/null) ]]; do "
    "kill -0 $run && sleep 0.01 || exit 99; done; ";

std::string Source() { return Clip(ClipKind::kH264Short); }

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

mode_t Mode(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

bool Contains(const std::string& text, const std::string& piece) {
  return text.find(piece) != std::string::npos;
}

// A folder in which one output stands, or is to stand.
class Replacing : public testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(mFolder);
    fs::create_directory(mFolder);
  }

  std::string PutOld(const std::string& name) const {
    std::string path = mFolder + "/" + name;
    std::ofstream(path) << kOld;
    EXPECT_EQ(chmod(path.c_str(), 0640), 0);
    return path;
  }

  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(mFolder)) {
      names.insert(entry.path().filename());
    }
    return names;
  }

  void ExpectOnlyOld(const std::string& path) const {
    EXPECT_EQ(Bytes(path), kOld);
    EXPECT_EQ(Mode(path), 0640U);
    EXPECT_EQ(Names(), std::set<std::string>{fs::path(path).filename()});
  }
  void ExpectOnlyNew(const std::string& path) const {
    EXPECT_EQ(VideoTimes(path).size(), kPictures);
    EXPECT_EQ(Names(), std::set<std::string>{fs::path(path).filename()});
  }

  static CommandResult Reverse(const std::string& output,
                               const std::vector<std::string>& more = {}) {
    std::vector<std::string> words = {"-i", Source(), "-o", output};
    words.insert(words.end(), more.begin(), more.end());
    return RunProgram(words, kNotForEver);
  }

  // Runs shell text in which $0 is the program, $1 the clip and $2 the output.
  static CommandResult Shell(const std::string& text, const std::string& output,
                             const std::string& clip = Source()) {
    return test_support::Run({"bash", "-c", text, ProgramPath(), clip, output}, kNotForEver);
  }

  // The last line is the same whether something stood at the output or not.
  static void ExpectHonest(const CommandResult& result, const std::string& output,
                           const std::string& advice) {
    EXPECT_EQ(result.status, kFailure);
    const std::string last = "[reverse::Main] " + output + advice + "\n";
    ASSERT_GE(result.err.size(), last.size());
    EXPECT_EQ(result.err.substr(result.err.size() - last.size()), last);
  }

  const std::string mFolder = ScratchPath("replacing");
};

TEST_F(Replacing, PutsTheNewFileThereWithTheOldPermissions) {
  for (const char* name : {"out.mp4", "out.mkv", "out.ts"}) {
    const std::string output = PutOld(name);
    const CommandResult result = Reverse(output);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_FALSE(Contains(result.err, "/proc/"));
    EXPECT_FALSE(Contains(result.err, "in place"));
    ExpectOnlyNew(output);
    EXPECT_EQ(Mode(output), 0640U);
    fs::remove(output);
  }
}

TEST_F(Replacing, GivesAFileThatIsNewWhatTheUmaskLeaves) {
  const std::string output = mFolder + "/new.mp4";
  EXPECT_EQ(Shell("umask 027; exec \"$0\" -i \"$1\" -o \"$2\"", output).status, 0);
  ExpectOnlyNew(output);
  EXPECT_EQ(Mode(output), 0640U);
}

// The encoder's slices share a budget of bits as its threads get on, so that the bytes of pictures
// may differ between any two runs; their times and the container may not.
TEST_F(Replacing, WritesTheSameFileAsInPlace) {
  std::vector<std::string> outputs;
  for (const bool isSafe : {false, true}) {
    outputs.push_back(mFolder + (isSafe ? "/aside.mkv" : "/in_place.mkv"));
    codec::Reverse job(Source().c_str(), 0, 0, outputs.back().c_str());
    job.SetSafeOutput(isSafe);
    ASSERT_EQ(job.Init(), 0);
    ASSERT_EQ(job.Start(), 0);
    while (!job.WaitForEnd(1000)) {
    }
    job.Release();
    EXPECT_EQ(job.Result(), 0);
  }
  EXPECT_EQ(VideoTimes(outputs[0]).size(), kPictures);
  EXPECT_EQ(VideoTimes(outputs[0]), VideoTimes(outputs[1]));
  for (const char* field : {"format_name", "nb_streams", "duration"}) {
    EXPECT_EQ(ContainerFields(outputs[0]).at(field), ContainerFields(outputs[1]).at(field))
        << field;
  }
}

TEST_F(Replacing, IsLeftOutInAPlainRun) {
  const std::string output = PutOld("plain.webm");
  EXPECT_EQ(Reverse(output, {"--plain"}).status, kFailure);
  EXPECT_TRUE(fs::exists(output));
  EXPECT_NE(Bytes(output), kOld);
}

TEST_F(Replacing, KeepsTheOldFileWhereTheContainerTakesNoH264) {
  const std::pair<const char*, const char*> outputs[] = {
      {"out.webm", "--set video-codec=libvpx-vp9 --set audio-codec=libopus, or "},
      {"out.gif", "--set video-codec=gif --no-sound, or "},
      {"out.yuv", ""}};
  for (const auto& [name, codecs] : outputs) {
    const std::string output = PutOld(name);
    ExpectHonest(
        Reverse(output), output,
        std::string(" cannot hold H.264; use ") + codecs + ".mp4, .mov, .mkv, .avi or .ts");
    ExpectOnlyOld(output);
    fs::remove(output);
  }
}

TEST_F(Replacing, KeepsTheOldFileWhereTheInputDoesNotServe) {
  const std::string output = PutOld("out.mp4");
  EXPECT_EQ(RunProgram({"-i", "absent.mp4", "-o", output}).status, kFailure);
  EXPECT_EQ(RunProgram({"-i", Source(), "-o", output, "-s", "100"}).status, kFailure);
  ExpectOnlyOld(output);
}

TEST_F(Replacing, KeepsTheOldFileAtTheLimitOfAFilesSize) {
  for (const char* name : {"out.mp4", "out.mkv", "out.ts"}) {
    const std::string output = PutOld(name);
    ExpectHonest(Shell("ulimit -f 40; exec \"$0\" -i \"$1\" -o \"$2\"", output), output,
                 " outgrew the largest file allowed; raise \"ulimit -f\" or use another disk");
    ExpectOnlyOld(output);
    fs::remove(output);
  }
}

TEST_F(Replacing, KeepsTheOldFileOnAFullDisk) {
  if (mount("none", mFolder.c_str(), "tmpfs", 0, "size=64k") != 0) {
    GTEST_SKIP() << "no right to mount";
  }
  for (const char* name : {"out.mp4", "out.mkv", "out.ts"}) {
    const std::string output = PutOld(name);
    ExpectHonest(Reverse(output), output,
                 " did not fit on its disk, which is full; free some room or use another disk");
    ExpectOnlyOld(output);
    fs::remove(output);
  }
  umount(mFolder.c_str());
}

TEST_F(Replacing, KeepsTheOldFileWhereASignalEndsTheRun) {
  for (const int signal : {SIGINT, SIGTERM, SIGKILL, SIGHUP}) {
    const std::string output = PutOld("out.mp4");
    const std::string text = kStarted + ("kill -" + std::to_string(signal)) + " $run; wait $run";
    EXPECT_EQ(Shell(text, output, LongStillClip()).status, 128 + signal);
    ExpectOnlyOld(output);
  }
}

TEST_F(Replacing, LeavesNothingWhereNothingStoodAndASignalEndsTheRun) {
  const std::string output = mFolder + "/new.mkv";
  EXPECT_EQ(
      Shell(std::string(kStarted) + "kill -KILL $run; wait $run", output, LongStillClip()).status,
      128 + SIGKILL);
  EXPECT_TRUE(fs::is_empty(mFolder));
}

// Between the two calls that put a file over another, the whole new one has a hidden name.
bool IsWholeUnderAHiddenName(const std::string& folder, const std::set<std::string>& names) {
  const std::string hidden = ".out.mp4.clip-reverse-unfinished-";
  const std::string& name = *names.begin();
  return names.size() == 2 && name.compare(0, hidden.size(), hidden) == 0 &&
         VideoTimes("file:" + folder + "/" + name).size() == kPictures;
}

TEST_F(Replacing, LeavesTheOldFileOrTheWholeNewOneWhereTheRunIsKilledAtAnyMoment) {
  const unsigned seed = std::random_device{}();
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> seconds(0.01, 1.2);
  for (int i = 0; i < 16; ++i) {
    const std::string output = PutOld("out.mp4");
    const std::string after = std::to_string(seconds(random));
    SCOPED_TRACE("seed " + std::to_string(seed) + ", killed after " + after + " s");
    test_support::Run({"timeout", "-s", "KILL", after, ProgramPath(), "-i", Source(), "-o", output},
                      kNotForEver);
    EXPECT_TRUE(Bytes(output) == kOld || VideoTimes(output).size() == kPictures);
    EXPECT_EQ(Mode(output), 0640U);
    const std::set<std::string> names = Names();
    EXPECT_TRUE(names == std::set<std::string>{"out.mp4"} ||
                (Bytes(output) == kOld && IsWholeUnderAHiddenName(mFolder, names)))
        << *names.begin();
    fs::remove(output);
  }
}

TEST_F(Replacing, ReplacesWhatAnotherProcessHasPutThereMeanwhile) {
  const std::string output = PutOld("out.mp4");
  const CommandResult result =
      Shell(kStarted + std::string("echo other >\"$2\".x; mv \"$2\".x \"$2\"; wait $run"), output);
  EXPECT_EQ(result.status, 0);
  ExpectOnlyNew(output);
}

TEST_F(Replacing, KeepsWhatAnotherProcessHasPutThereWhereTheRunFails) {
  const std::string output = PutOld("out.mp4");
  Shell(kStarted + std::string("echo -n other >\"$2\".x; mv \"$2\".x \"$2\"; kill $run; wait $run"),
        output, LongStillClip());
  EXPECT_EQ(Bytes(output), "other");
  EXPECT_EQ(Names(), std::set<std::string>{"out.mp4"});
}

TEST_F(Replacing, TellsWhereAFolderHasComeThereMeanwhile) {
  const std::string output = mFolder + "/out.mp4";
  const CommandResult result = Shell("env \"$0\" -i \"$1\" -o \"$2\" & run=$!; " +
                                         std::string(kUntilAside) + "mkdir \"$2\"; wait $run",
                                     output);
  ExpectHonest(result, output, " is a folder; name a file in it");
  EXPECT_TRUE(Contains(result.err, "could not write " + output + ": Is a directory"));
  EXPECT_TRUE(fs::is_empty(output));
  EXPECT_EQ(Names(), std::set<std::string>{"out.mp4"});
}

TEST_F(Replacing, KeepsWhatHasComeThereMeanwhileIfNobodyAllowsToReplaceIt) {
  const std::string output = mFolder + "/out.mp4";
  for (const char* how : {"no", "ask"}) {
    const CommandResult result =
        Shell("env \"$0\" -i \"$1\" -o \"$2\" --overwrite " + std::string(how) + " & run=$!; " +
                  kUntilAside + "echo -n other >\"$2\"; wait $run",
              output);
    ExpectHonest(result, output,
                 " was made by another program during the run; choose another name for -o");
    EXPECT_EQ(Bytes(output), "other");
    EXPECT_EQ(Names(), std::set<std::string>{"out.mp4"});
    fs::remove(output);
  }
  EXPECT_EQ(Reverse(output, {"--overwrite", "no"}).status, 0);
  ExpectOnlyNew(output);
}

TEST_F(Replacing, LetsTwoRunsWriteOneOutput) {
  const std::string output = PutOld("out.mp4");
  EXPECT_EQ(
      Shell("\"$0\" -i \"$1\" -o \"$2\" & \"$0\" -i \"$1\" -o \"$2\" && wait $!", output).status,
      0);
  ExpectOnlyNew(output);
}

TEST_F(Replacing, KeepsLinksAndReplacesWhatTheyLeadTo) {
  const std::string elsewhere = ScratchPath("elsewhere");
  fs::create_directories(elsewhere);
  for (const bool stands : {true, false}) {
    const std::string target = elsewhere + "/target.mp4";
    fs::remove(target);
    if (stands) std::ofstream(target) << kOld;
    const std::string link = mFolder + "/link.webm";
    fs::create_symlink(target, link);
    EXPECT_EQ(Reverse(link).status, kFailure);
    EXPECT_EQ(fs::exists(target), stands);
    if (stands) {
      EXPECT_EQ(Bytes(target), kOld);
    }
    // The link's own extension chooses the container.
    const std::string second = mFolder + "/link.mkv";
    fs::rename(link, second);
    EXPECT_EQ(Reverse(second).status, 0);
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(second)));
    EXPECT_EQ(VideoTimes(target).size(), kPictures);
    EXPECT_EQ(ContainerFields(target).at("format_name"), "matroska,webm");
    EXPECT_EQ(std::distance(fs::directory_iterator(elsewhere), {}), 1);
    fs::remove(second);
  }
}

TEST_F(Replacing, LeavesOtherNamesOfTheOldFileAlone) {
  const std::string output = PutOld("out.mp4");
  const std::string snapshot = ScratchPath("snapshot");
  fs::create_hard_link(output, snapshot);
  EXPECT_EQ(Reverse(output).status, 0);
  ExpectOnlyNew(output);
  EXPECT_EQ(Bytes(snapshot), kOld);
}

TEST_F(Replacing, WritesDevicesAndPipesDirectly) {
  const std::string null = mFolder + "/null.ts";
  fs::create_symlink("/dev/null", null);
  EXPECT_EQ(Reverse(null).status, 0);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(null)));
  fs::remove(null);
  const std::string pipe = mFolder + "/pipe.ts";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string read = ScratchPath("read.ts");
  EXPECT_EQ(Shell("cat \"$2\" >" + read + " & \"$0\" -i \"$1\" -o \"$2\" && wait $!", pipe).status,
            0);
  EXPECT_EQ(VideoTimes(read).size(), kPictures);
  EXPECT_TRUE(fs::is_fifo(pipe));
  EXPECT_EQ(Names(), std::set<std::string>{"pipe.ts"});
}

TEST_F(Replacing, TakesTheLongestName) {
  const std::string output = mFolder + "/" + std::string(251, 'n') + ".mp4";
  EXPECT_EQ(Reverse(output).status, 0);
  EXPECT_EQ(Reverse(output).status, 0);
  ExpectOnlyNew(output);
}

// A process may neither find nor name a file by its descriptor there.
class ReplacingWithoutProc : public Replacing {
 protected:
  void SetUp() override {
    Replacing::SetUp();
    if (test_support::Run({"unshare", "-m", "umount", "-l", "/proc"}).status != 0) {
      GTEST_SKIP() << "no right to take /proc away";
    }
  }
  static CommandResult Hidden(const std::string& text, const std::string& output,
                              const std::string& clip = Source()) {
    return test_support::Run(
        {"unshare", "-m", "bash", "-c", "umount -l /proc; " + text, ProgramPath(), clip, output},
        kNotForEver);
  }
};

TEST_F(ReplacingWithoutProc, WritesUnderAHiddenName) {
  const std::string output = PutOld("out.mp4");
  EXPECT_EQ(Hidden("exec \"$0\" -i \"$1\" -o \"$2\"", output).status, 0);
  ExpectOnlyNew(output);
  EXPECT_EQ(Mode(output), 0640U);
}

TEST_F(ReplacingWithoutProc, LeavesNothingWhereTheRunFails) {
  const std::string output = PutOld("out.webm");
  ExpectHonest(Hidden("exec \"$0\" -i \"$1\" -o \"$2\"", output), output,
               " cannot hold H.264; use --set video-codec=libvpx-vp9 --set audio-codec=libopus, "
               "or .mp4, .mov, .mkv, .avi or .ts");
  ExpectOnlyOld(output);
}

TEST_F(ReplacingWithoutProc, LeavesAHiddenNameThatSaysWhatItIsWhereTheRunIsKilled) {
  const std::string output = PutOld("out.mp4");
  Hidden(std::string(kStarted) + "kill -KILL $run; wait $run", output, LongStillClip());
  EXPECT_EQ(Bytes(output), kOld);
  const std::set<std::string> names = Names();
  ASSERT_EQ(names.size(), 2U);
  EXPECT_TRUE(Contains(*names.begin(), ".out.mp4.clip-reverse-unfinished-"));
  EXPECT_EQ(Mode(mFolder + "/" + *names.begin()), 0640U) << "no more open than the old file";
}

}  // namespace
}  // namespace test_support
