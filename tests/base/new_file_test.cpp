// SPDX-License-Identifier: MIT
#include "base/new_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>

#include "base/descriptor.h"
#include "tests/faults/faults.h"
#include "tests/support/access_list.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"

namespace but {
namespace {

namespace fs = std::filesystem;

using test_support::Fault;
using test_support::FaultCall;
using test_support::LogCapture;
using test_support::ScratchPath;

constexpr char kTag[] = "but::NewFile";

void Write(const std::string& path, const std::string& bytes = "x") {
  std::ofstream(path) << bytes;
}

std::string Bytes(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

mode_t Mode(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

std::set<std::string> NamesIn(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

TEST(NewFile, RemovesOnlyWhatWasNotThereBefore) {
  const std::string fresh = ScratchPath("fresh");
  NewFile made(fresh);
  Write(fresh);
  made.Discard();
  EXPECT_FALSE(fs::exists(fresh));
  made.Discard();

  const std::string old = ScratchPath("old");
  Write(old);
  NewFile(old).Discard();
  EXPECT_TRUE(fs::exists(old));
}

TEST(NewFile, RemovesWhatALinkToNothingLedToAndKeepsTheLink) {
  const std::string link = ScratchPath("dangling");
  const std::string target = ScratchPath("target");
  fs::create_symlink(target, link);
  NewFile made(link);
  Write(link);
  ASSERT_TRUE(fs::exists(target));
  made.Discard();
  EXPECT_FALSE(fs::exists(target));
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(link)));
}

TEST(NewFile, KeepsWhatIsNoRegularFile) {
  const std::string path = ScratchPath("later-pipe");
  NewFile made(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  made.Discard();
  EXPECT_TRUE(fs::exists(path));
}

// A folder of its own with the place of the file in it. With and without files that have no name.
class NewFileAside : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    fs::remove_all(mFolder);
    fs::create_directory(mFolder);
    const Descriptor probe(open(mFolder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!HasNames() && !probe.IsOpen()) GTEST_SKIP() << "a disk without files that have no name";
  }

  // Writes aside, unnamed or under a hidden name, and leaves the file open.
  // `folders` are those that the path leads through by links, the last one included.
  void WriteAside(NewFile* file, const std::string& bytes = "new", int64_t folders = 1) const {
    // The first openings are those of the folders.
    std::optional<Fault> fault;
    if (HasNames()) fault.emplace(FaultCall::openat, folders, EOPNOTSUPP).Once();
    ASSERT_EQ(file->WriteAside(), 0);
    ASSERT_TRUE(file->IsAside());
    Write(file->WritePath(), bytes);
  }
  bool HasNames() const { return GetParam(); }

  const std::string mFolder = ScratchPath("aside");
  const std::string mPath = mFolder + "/out.mp4";
};

INSTANTIATE_TEST_SUITE_P(, NewFileAside, testing::Bool(),
                         [](const auto& row) { return row.param ? "Hidden" : "Unnamed"; });

TEST_P(NewFileAside, ShowsNothingOrAHiddenNameUntilItIsWhole) {
  Write(mPath, "old");
  NewFile file(mPath);
  WriteAside(&file);
  EXPECT_EQ(Bytes(mPath), "old");
  std::set<std::string> names = {"out.mp4"};
  if (HasNames()) {
    names.insert(".out.mp4.clip-reverse-unfinished-" + std::to_string(getpid()) + "-0");
  }
  EXPECT_EQ(NamesIn(mFolder), names);
  EXPECT_EQ(file.Finish(), 0);
  EXPECT_EQ(Bytes(mPath), "new");
  EXPECT_EQ(NamesIn(mFolder), std::set<std::string>{"out.mp4"});
}

TEST_P(NewFileAside, CanBeReadAgainByItsPath) {
  NewFile file(mPath);
  WriteAside(&file, "first");
  EXPECT_EQ(Bytes(file.WritePath()), "first");
  Write(file.WritePath(), "second");
  EXPECT_EQ(file.Finish(), 0);
  EXPECT_EQ(Bytes(mPath), "second");
}

TEST_P(NewFileAside, LeavesNothingBehindWhenItIsGivenUp) {
  {
    NewFile file(mPath);
    WriteAside(&file);
  }
  EXPECT_TRUE(NamesIn(mFolder).empty());
  Write(mPath, "old");
  NewFile file(mPath);
  WriteAside(&file);
  file.Discard();
  EXPECT_EQ(NamesIn(mFolder), std::set<std::string>{"out.mp4"});
  EXPECT_EQ(Bytes(mPath), "old");
  EXPECT_EQ(file.Finish(), 0) << "nothing is left to finish";
  EXPECT_EQ(Bytes(mPath), "old");
}

TEST_P(NewFileAside, DoesNotRemoveWhatAnotherHasPutThere) {
  NewFile file(mPath);
  WriteAside(&file);
  Write(mPath, "another's");
  file.Discard();
  EXPECT_EQ(Bytes(mPath), "another's");
}

TEST_P(NewFileAside, ReplacesWhatHasComeOrGoneMeanwhile) {
  NewFile late(mPath);
  WriteAside(&late);
  Write(mPath, "another's");
  EXPECT_EQ(late.Finish(), 0);
  EXPECT_EQ(Bytes(mPath), "new");
  NewFile early(mPath);
  WriteAside(&early, "newer");
  fs::remove(mPath);
  EXPECT_EQ(early.Finish(), 0);
  EXPECT_EQ(Bytes(mPath), "newer");
  EXPECT_EQ(NamesIn(mFolder), std::set<std::string>{"out.mp4"});
}

TEST_P(NewFileAside, KeepsFoldersAndPipesThatHaveComeMeanwhile) {
  const LogCapture log;
  NewFile pipe(mPath);
  WriteAside(&pipe);
  ASSERT_EQ(mkfifo(mPath.c_str(), 0600), 0);
  EXPECT_EQ(pipe.Finish(), EEXIST);
  EXPECT_TRUE(log.Has(kLogError, kTag, "'" + mPath + "': File exists"));
  EXPECT_TRUE(fs::is_fifo(mPath));
  fs::remove(mPath);
  NewFile folder(mPath);
  WriteAside(&folder);
  fs::create_directory(mPath);
  EXPECT_EQ(folder.Finish(), EISDIR);
  EXPECT_EQ(NamesIn(mFolder), std::set<std::string>{"out.mp4"});
}

TEST_P(NewFileAside, ReplacesNothingIfItMayNot) {
  const LogCapture log;
  {
    NewFile alone(mPath, false);
    WriteAside(&alone, "first");
    EXPECT_EQ(alone.Finish(), 0);
    NewFile late(mPath, false);
    EXPECT_EQ(late.WriteAside(), EEXIST);
    EXPECT_FALSE(late.IsAside());
    late.Discard();
    EXPECT_EQ(Bytes(mPath), "first");
    fs::remove(mPath);
    NewFile early(mPath, false);
    WriteAside(&early, "second");
    Write(mPath, "another's");
    EXPECT_EQ(early.Finish(), EEXIST);
  }
  EXPECT_EQ(log.Count(kLogError, kTag, "'" + mPath + "': File exists"), 2);
  EXPECT_EQ(Bytes(mPath), "another's");
  EXPECT_EQ(NamesIn(mFolder), std::set<std::string>{"out.mp4"});
}

// Only a file with a name can be renamed.
TEST_P(NewFileAside, ReplacesNothingOnADiskWithoutLinks) {
  for (const bool isTaken : {false, true}) {
    {
      NewFile file(mPath, false);
      WriteAside(&file);
      if (isTaken) Write(mPath, "another's");
      const Fault fault(FaultCall::linkat, 0, EPERM);
      EXPECT_EQ(file.Finish(), !HasNames() ? EPERM : isTaken ? EEXIST : 0);
      EXPECT_EQ(fault.Failed(), 1);
    }
    EXPECT_EQ(Bytes(mPath), isTaken ? "another's" : HasNames() ? "new" : "");
    EXPECT_EQ(NamesIn(mFolder).size(), isTaken || HasNames() ? 1U : 0U);
    fs::remove(mPath);
  }
}

TEST_P(NewFileAside, FollowsItsFolderButNotItsRemoval) {
  const std::string moved = ScratchPath("moved");
  fs::remove_all(moved);
  NewFile file(mPath);
  WriteAside(&file);
  fs::rename(mFolder, moved);
  EXPECT_EQ(file.Finish(), 0);
  EXPECT_EQ(Bytes(moved + "/out.mp4"), "new");
  NewFile homeless(moved + "/second.mp4");
  ASSERT_EQ(homeless.WriteAside(), 0);
  fs::remove_all(moved);
  const LogCapture log;
  EXPECT_EQ(homeless.Finish(), ENOENT);
}

TEST_P(NewFileAside, KeepsPermissions) {
  for (const mode_t mode : {0600U, 0640U, 0666U, 0777U, 0200U}) {
    Write(mPath, "old");
    ASSERT_EQ(chmod(mPath.c_str(), mode), 0);
    NewFile file(mPath);
    WriteAside(&file);
    EXPECT_EQ(Mode(file.WritePath()) & 0077, mode & 0077) << "not more open meanwhile";
    EXPECT_EQ(file.Finish(), 0);
    EXPECT_EQ(Mode(mPath), mode);
    fs::remove(mPath);
  }
}

TEST_P(NewFileAside, GivesNewFilesWhatTheUmaskLeaves) {
  for (const mode_t mask : {0022U, 0077U, 0U, 0777U}) {
    const mode_t before = umask(mask);
    NewFile file(mPath);
    WriteAside(&file);
    EXPECT_EQ(file.Finish(), 0);
    umask(before);
    EXPECT_EQ(Mode(mPath), 0666 & ~mask);
    fs::remove(mPath);
  }
}

TEST_P(NewFileAside, KeepsOwnerAndGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  Write(mPath, "old");
  ASSERT_EQ(chown(mPath.c_str(), 4711, 4712), 0);
  NewFile file(mPath);
  WriteAside(&file);
  EXPECT_EQ(file.Finish(), 0);
  struct stat status {};
  ASSERT_EQ(stat(mPath.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 4711U);
  EXPECT_EQ(status.st_gid, 4712U);
  EXPECT_EQ(Bytes(mPath), "new");
}

TEST_P(NewFileAside, KeepsAccessLists) {
  Write(mPath, "old");
  if (!test_support::PutAccessList(mPath)) GTEST_SKIP() << "a disk without access lists";
  NewFile file(mPath);
  WriteAside(&file);
  EXPECT_EQ(file.Finish(), 0);
  EXPECT_EQ(Bytes(mPath), "new");
  EXPECT_TRUE(test_support::HasAccessList(mPath));
}

TEST_P(NewFileAside, TakesNoAccessListFromItsFolderThatTheOldFileHasNot) {
  Write(mPath, "old");
  if (setxattr(mFolder.c_str(), "system.posix_acl_default", test_support::kAccessList.data(),
               test_support::kAccessList.size(), 0) != 0) {
    GTEST_SKIP() << "a disk without access lists";
  }
  NewFile file(mPath);
  WriteAside(&file);
  EXPECT_EQ(file.Finish(), 0);
  EXPECT_EQ(getxattr(mPath.c_str(), test_support::kAccessListName, nullptr, 0), -1);
}

TEST_P(NewFileAside, ReplacesTheTargetOfALinkAndKeepsTheLink) {
  fs::create_directory(mFolder + "/below");
  const std::string link = mFolder + "/link.mp4";
  fs::create_symlink("below/second", link);
  fs::create_symlink("../out.mp4", mFolder + "/below/second");
  for (const char* old : {"", "old"}) {  // a link to nothing, then one to a file
    if (*old != '\0') Write(mPath, old);
    NewFile file(link);
    WriteAside(&file, std::string("after ") + old, 3);
    EXPECT_EQ(file.Finish(), 0);
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(link)));
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(mFolder + "/below/second")));
    EXPECT_FALSE(fs::is_symlink(fs::symlink_status(mPath)));
    EXPECT_EQ(Bytes(mPath), std::string("after ") + old);
  }
  EXPECT_EQ(NamesIn(mFolder), (std::set<std::string>{"below", "link.mp4", "out.mp4"}));
}

TEST_P(NewFileAside, LeavesOtherNamesOfTheOldFileWithItsBytes) {
  Write(mPath, "old");
  const std::string other = mFolder + "/snapshot.mp4";
  fs::create_hard_link(mPath, other);
  NewFile file(mPath);
  WriteAside(&file);
  EXPECT_EQ(file.Finish(), 0);
  EXPECT_EQ(Bytes(mPath), "new");
  EXPECT_EQ(Bytes(other), "old");
}

TEST_P(NewFileAside, TakesNamesOfAnyLengthAndLook) {
  const fs::path before = fs::current_path();
  fs::current_path(mFolder);
  // The longest name there is, and one whose 80th byte is within a letter.
  std::string letters = "x";
  for (int i = 0; i < 60; ++i) letters += "\u00e4";
  for (const std::string& name : {std::string(255, 'n'), letters, std::string("a:b%03d.mp4"),
                                  std::string("-v"), std::string("file:prefixed.mp4")}) {
    NewFile file(name);
    WriteAside(&file);
    EXPECT_EQ(file.Finish(), 0);
    EXPECT_EQ(Bytes(name == "file:prefixed.mp4" ? "prefixed.mp4" : name), "new") << name;
  }
  fs::current_path(before);
}

TEST_P(NewFileAside, PassesOverHiddenNamesThatAreTaken) {
  Write(mPath, "old");
  const std::string left =
      mFolder + "/.out.mp4.clip-reverse-unfinished-" + std::to_string(getpid()) + "-0";
  Write(left, "of a killed run");
  NewFile file(mPath);
  WriteAside(&file);
  EXPECT_EQ(file.Finish(), 0);
  EXPECT_EQ(Bytes(mPath), "new");
  EXPECT_EQ(Bytes(left), "of a killed run");
}

TEST_P(NewFileAside, KeepsTheOldFileWhereTheHostFails) {
  for (const FaultCall call :
       {FaultCall::fsync, FaultCall::fchmod, FaultCall::linkat, FaultCall::renameat}) {
    if (HasNames() && call == FaultCall::linkat) continue;
    Write(mPath, "old");
    chmod(mPath.c_str(), 0200);  // what is finished gets another mode once more
    NewFile file(mPath);
    WriteAside(&file);
    const LogCapture log;
    {
      const Fault fault(call, 0, ENOSPC);
      EXPECT_EQ(file.Finish(), ENOSPC) << test_support::FaultCallName(call);
      EXPECT_GT(fault.Failed(), 0);
    }
    EXPECT_TRUE(log.Has(kLogError, kTag, "'" + mPath + "': No space left on device"));
    EXPECT_EQ(NamesIn(mFolder), std::set<std::string>{"out.mp4"});
    chmod(mPath.c_str(), 0600);
    EXPECT_EQ(Bytes(mPath), "old");
  }
}

TEST(NewFileInPlace, WritesWhatIsNoRegularFile) {
  const std::string pipe = ScratchPath("fifo");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const LogCapture log;
  for (const std::string& path :
       {std::string("/dev/null"), pipe, ScratchPath(""), std::string("/dev/stdout"),
        std::string("/proc/self/fd/0"), ScratchPath("none/x"), std::string()}) {
    NewFile file(path);
    EXPECT_EQ(file.WriteAside(), 0) << path;
    EXPECT_FALSE(file.IsAside()) << path;
    EXPECT_EQ(file.WritePath(), path);
    EXPECT_EQ(file.Finish(), 0);
  }
  EXPECT_TRUE(log.Texts(kTag).empty());
}

TEST(NewFileInPlace, MakesTheFileAtOnceIfNothingMayBeReplaced) {
  const std::string path = ScratchPath("claimed");
  NewFile file(path, false);
  EXPECT_EQ(file.WriteInPlace(), 0);
  EXPECT_EQ(Bytes(path), "");
  EXPECT_TRUE(fs::exists(path));
  file.Discard();
  EXPECT_FALSE(fs::exists(path));

  const LogCapture log;
  NewFile late(path, false);
  Write(path, "another's");
  EXPECT_EQ(late.WriteInPlace(), EEXIST);
  EXPECT_TRUE(log.Has(kLogError, kTag, "'" + path + "': File exists"));
  late.Discard();
  EXPECT_EQ(Bytes(path), "another's");
  EXPECT_EQ(NewFile(path).WriteInPlace(), 0) << "may be replaced";
  for (const char* other : {"/dev/null", "/dev/stdout", "none/x"}) {
    EXPECT_EQ(NewFile(other, false).WriteInPlace(), 0) << other;
  }
}

TEST(NewFileInPlace, WritesWhatAProcessHasOpen) {
  const std::string path = ScratchPath("open.ts");
  Write(path);
  const int number = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  NewFile file("/dev/fd/" + std::to_string(number));
  EXPECT_EQ(file.WriteAside(), 0);
  EXPECT_FALSE(file.IsAside());
  close(number);
}

TEST(NewFileInPlace, WritesWithAWarningWhereTheFolderTakesNoNewFile) {
  const std::string path = ScratchPath("kept");
  Write(path, "old");
  for (const int error : {EACCES, EPERM, EROFS}) {
    const LogCapture log;
    const Fault fault(FaultCall::openat, 1, error);
    NewFile file("file:" + path);
    EXPECT_EQ(file.WriteAside(), 0);
    EXPECT_FALSE(file.IsAside());
    EXPECT_EQ(file.WritePath(), path);
    EXPECT_TRUE(log.Has(kLogWarn, kTag,
                        "file:" + path + " is overwritten in place, and lost if the run fails: " +
                            std::strerror(error)));
    file.Discard();
    EXPECT_TRUE(fs::exists(path));
  }
}

TEST(NewFileInPlace, WritesWithAWarningWhereOwnerOrPermissionsCannotBeKept) {
  const std::string path = ScratchPath("owned");
  Write(path, "old");
  const LogCapture log;
  const Fault fault(FaultCall::fchmod, 0, EPERM);
  NewFile file(path);
  EXPECT_EQ(file.WriteAside(), 0);
  EXPECT_FALSE(file.IsAside());
  EXPECT_EQ(log.CountContaining(kLogWarn, kTag, "its owner and permissions"), 1);
}

TEST(NewFileInPlace, IsRefusedWhereTheHostFailsBeforeAFileIsLost) {
  const std::string path = ScratchPath("safe");
  Write(path, "old");
  struct Row {
    FaultCall call;
    int64_t passing;
    int error;
  };
  for (const Row& row : {Row{FaultCall::openat, 0, EMFILE}, Row{FaultCall::openat, 1, ENOSPC},
                         Row{FaultCall::fchmod, 0, EIO}}) {
    const LogCapture log;
    const Fault fault(row.call, row.passing, row.error);
    NewFile file(path);
    EXPECT_EQ(file.WriteAside(), row.error);
    EXPECT_FALSE(file.IsAside());
    EXPECT_EQ(log.CountContaining(kLogError, kTag, "'" + path + "': "), 1);
    EXPECT_EQ(Bytes(path), "old");
  }
}

}  // namespace
}  // namespace but
