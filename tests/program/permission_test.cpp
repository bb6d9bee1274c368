// Outputs that the user has no right to write.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"

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
