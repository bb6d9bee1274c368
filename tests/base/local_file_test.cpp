// SPDX-License-Identifier: MIT
#include "base/local_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "tests/support/command.h"

namespace but {
namespace {

namespace fs = std::filesystem;

using test_support::ScratchPath;

void Touch(const std::string& path) { std::ofstream(path) << "x"; }

TEST(LocalPath, TakesEveryNameForThatOfAFile) {
  for (const char* name : {"", "x.mp4", "a:b.mp4", "http://host/x.mp4", "pipe:0", "%03d.png"}) {
    EXPECT_EQ(LocalPath(name), name);
  }
}

TEST(LocalPath, TakesTheFilePrefixOffUnlessAFileIsCalledSo) {
  EXPECT_EQ(LocalPath("file:x.mp4"), "x.mp4");
  EXPECT_EQ(LocalPath("file:/tmp/x.mp4"), "/tmp/x.mp4");
  const fs::path before = fs::current_path();
  fs::current_path(fs::path(ScratchPath("x")).parent_path());
  Touch("file:there.mp4");
  EXPECT_EQ(LocalPath("file:there.mp4"), "file:there.mp4");
  fs::current_path(before);
}

TEST(WhyNotSeekable, AllowsFilesAndWhatDoesNotExist) {
  const std::string file = ScratchPath("plain");
  Touch(file);
  EXPECT_EQ(WhyNotSeekable(file), nullptr);
  EXPECT_EQ(WhyNotSeekable(ScratchPath("absent")), nullptr);
}

TEST(WhyNotSeekable, NamesTheReasonForDirectoriesPipesAndDevices) {
  const std::string pipe = ScratchPath("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_STREQ(WhyNotSeekable(ScratchPath("")), "it is a directory");
  EXPECT_STREQ(WhyNotSeekable(pipe), "it is a pipe (FIFO), which cannot be read backwards");
  EXPECT_STREQ(WhyNotSeekable("/dev/zero"),
               "it is a character device, which cannot be read backwards");
}

TEST(UnseekableKind, NamesWhatThereIs) {
  EXPECT_STREQ(UnseekableKind(ScratchPath("")), "a directory");
  EXPECT_STREQ(UnseekableKind("/dev/zero"), "a character device");
  EXPECT_EQ(UnseekableKind(ScratchPath("absent")), nullptr);
}

}  // namespace
}  // namespace but
