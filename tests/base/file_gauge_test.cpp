// SPDX-License-Identifier: MIT
#include "base/file_gauge.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/support/command.h"

namespace but {
namespace {

using test_support::ScratchPath;

TEST(FileGauge, FollowsAFileWhateverItsName) {
  const std::string path = ScratchPath("gauged");
  std::ofstream file(path);
  FileGauge gauge;
  EXPECT_EQ(gauge.Bytes(), 0);
  gauge.Open(path);
  EXPECT_EQ(gauge.Bytes(), 0);
  file << "12345" << std::flush;
  EXPECT_EQ(gauge.Bytes(), 5);
  std::filesystem::rename(path, path + ".renamed");
  std::ofstream(path) << "another file of that name";
  file << "678" << std::flush;
  EXPECT_EQ(gauge.Bytes(), 8);
  std::filesystem::remove(path + ".renamed");
  EXPECT_EQ(gauge.Bytes(), 8);
}

TEST(FileGauge, HasNoBytesOfWhatIsNoFile) {
  const std::string pipe = ScratchPath("gauged.pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& path :
       {pipe, std::string("/dev/null"), ScratchPath("absent"), ScratchPath("")}) {
    FileGauge gauge;
    gauge.Open(path);
    EXPECT_EQ(gauge.Bytes(), 0) << path;
  }
}

}  // namespace
}  // namespace but
