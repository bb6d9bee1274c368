// SPDX-License-Identifier: MIT
// Outputs that the user has no right to write.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

constexpr int kFailure = 255;

// Runs a program as somebody to whom permissions apply. To root they do only without the right to
// pass over them.
CommandResult RunBound(std::vector<std::string> command) {
  if (geteuid() == 0) {
    command.insert(command.begin(), {"setpriv", "--bounding-set=-dac_override"});
  }
  return Run(command);
}

void ExpectRefused(const std::string& output, const std::string& reason) {
  const CommandResult result =
      RunBound({ProgramPath(), "-i", Clip(ClipKind::kH264Short), "-o", output});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_NE(result.err.find("'" + output + "': " + reason), std::string::npos) << result.err;
}

class Permission : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(mFolder);
    std::ofstream(mKept) << "before";
    fs::permissions(mKept, fs::perms::owner_read);
    fs::permissions(mFolder, fs::perms::owner_read | fs::perms::owner_exec);
    if (RunBound({"true"}).status != 0) GTEST_SKIP() << "no way to give up a right of root's";
    if (RunBound({"touch", mFolder + "/probe"}).status == 0) {
      GTEST_SKIP() << "a host on which permissions do not count";
    }
  }
  void TearDown() override {
    fs::permissions(mFolder, fs::perms::owner_all);
    fs::remove_all(mFolder);
  }

  const std::string mFolder = ScratchPath("locked");
  const std::string mKept = mFolder + "/kept.mp4";
};

TEST_F(Permission, ToWriteIntoTheFolderIsAskedFor) {
  for (const char* name : {"/new.mp4", "/new.mkv", "/new.ts"}) {
    ExpectRefused(mFolder + name, "Permission denied");
    EXPECT_FALSE(fs::exists(mFolder + name));
  }
}

TEST_F(Permission, ToWriteIntoTheFileIsAskedFor) {
  ExpectRefused(mKept, "Permission denied");
  std::ifstream file(mKept);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "before");
}

// Whoever may write the folder could replace the file, but the file says that it is to stay.
TEST_F(Permission, ToWriteIntoTheFileIsAskedForInAFolderThatMayBeWrittenToo) {
  fs::permissions(mFolder, fs::perms::owner_all);
  ExpectRefused(mKept, "Permission denied");
  std::ifstream file(mKept);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "before");
}

TEST_F(Permission, ToPutAFileInTheFolderIsDoneWithoutWhereAFileMayBeWritten) {
  fs::permissions(mKept, fs::perms::owner_read | fs::perms::owner_write);
  const std::string clip = Clip(ClipKind::kH264Short);
  const CommandResult result = RunBound({ProgramPath(), "-i", clip, "-o", mKept});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(
      result.err.find(" warning [but::NewFile] " + mKept +
                      " is overwritten in place, and lost if the run fails: Permission denied"),
      std::string::npos)
      << result.err;
  EXPECT_FALSE(VideoTimes(mKept).empty());
  EXPECT_EQ(fs::status(mKept).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

// In such a folder only the owner of a file may replace it.
TEST_F(Permission, ToReplaceAFileOfAnothersInASharedFolderIsNotNeeded) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  fs::permissions(ScratchPath(""), fs::perms::others_exec, fs::perm_options::add);
  fs::permissions(mFolder, fs::perms::all | fs::perms::sticky_bit);
  fs::permissions(mKept, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_write);
  ASSERT_EQ(chown(mKept.c_str(), 4711, 4711), 0);
  const std::string clip = Clip(ClipKind::kH264Short);
  const CommandResult result =
      test_support::Run({"setpriv", "--reuid=4712", "--regid=4712", "--clear-groups", ProgramPath(),
                         "-i", clip, "-o", mKept});
  if (result.status == 126 || result.status == 127) GTEST_SKIP() << "another user cannot run it";
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.err.find("its folder lets only its owner replace it"), std::string::npos);
  struct stat status {};
  ASSERT_EQ(stat(mKept.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 4711U);
  EXPECT_FALSE(VideoTimes(mKept).empty());
}

// As in a container that has a single file of its host.
TEST(MountedFile, IsWrittenInPlace) {
  const std::string host = ScratchPath("host.mp4");
  const std::string mounted = ScratchPath("mounted.mp4");
  for (const std::string& path : {host, mounted}) std::ofstream(path) << "before";
  if (mount(host.c_str(), mounted.c_str(), nullptr, MS_BIND, nullptr) != 0) {
    GTEST_SKIP() << "no right to mount";
  }
  const CommandResult result =
      test_support::Run({ProgramPath(), "-i", Clip(ClipKind::kH264Short), "-o", mounted});
  umount(mounted.c_str());
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.err.find("it is a mount of its own"), std::string::npos) << result.err;
  EXPECT_FALSE(VideoTimes(host).empty());
}

TEST(ReadOnlyDisk, IsRefused) {
  const std::string disk = ScratchPath("read_only");
  fs::create_directory(disk);
  if (mount("none", disk.c_str(), "tmpfs", MS_RDONLY, "size=64k") != 0) {
    GTEST_SKIP() << "no right to mount";
  }
  ExpectRefused(disk + "/new.mp4", "Read-only file system");
  EXPECT_TRUE(fs::is_empty(disk));
  umount(disk.c_str());
}

}  // namespace
}  // namespace test_support
