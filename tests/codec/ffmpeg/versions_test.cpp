// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/versions.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/command.h"
#include "tests/support/log_capture.h"

namespace codec::ffmpeg {
namespace {

using test_support::LogCapture;

constexpr char kTag[] = "codec::ffmpeg";

constexpr unsigned Version(unsigned major, unsigned minor, unsigned micro) {
  return major << 16 | minor << 8 | micro;
}

TEST(Versions, OfTheFiveLibrariesAgreeInThisBuild) {
  const std::vector<LibraryVersion> libraries = LibraryVersions();
  std::vector<std::string> names;
  for (const LibraryVersion& library : libraries) {
    names.emplace_back(library.name);
    EXPECT_GT(library.built, 1U << 16) << library.name;
    EXPECT_EQ(library.built >> 16, library.loaded >> 16) << library.name;
  }
  EXPECT_THAT(names, testing::ElementsAre("libavformat", "libavcodec", "libavutil", "libswresample",
                                          "libswscale"));
  EXPECT_EQ(CheckVersions(libraries), 0);
}

// Held against what the installed ffmpeg says of the libraries that it runs with.
TEST(Versions, AreThoseThatTheFfmpegProgramReports) {
  const std::string report = test_support::Run({"ffmpeg", "-version"}).out;
  for (const LibraryVersion& library : LibraryVersions()) {
    const size_t line = report.find(library.name);
    ASSERT_NE(line, std::string::npos) << library.name;
    const std::string digits = report.substr(report.find_first_of("0123456789", line), 4);
    EXPECT_EQ(static_cast<unsigned>(std::stoi(digits)), library.loaded >> 16) << library.name;
  }
}

TEST(Versions, AreLoggedForDebugging) {
  const LogCapture log;
  EXPECT_EQ(CheckVersions({{"libx", Version(59, 37, 100), Version(59, 40, 1)}}), 0);
  EXPECT_TRUE(log.Has(kLogDebug, kTag, "libx: built with 59.37.100, runs with 59.40.1"));
  EXPECT_EQ(log.Lines().size(), 1U);
}

TEST(Versions, OfOtherMajorsAreRefusedOneErrorEach) {
  const LogCapture log;
  EXPECT_EQ(CheckVersions({{"libx", Version(59, 0, 0), Version(61, 0, 0)},
                           {"liby", Version(8, 1, 2), Version(8, 0, 0)},
                           {"libz", Version(4, 9, 9), Version(3, 9, 9)}}),
            -1);
  EXPECT_TRUE(log.Has(kLogError, kTag,
                      "built with libx 59, but libx 61 is loaded; build the program again"));
  EXPECT_TRUE(
      log.Has(kLogError, kTag, "built with libz 4, but libz 3 is loaded; build the program again"));
  EXPECT_EQ(log.CountContaining(kLogError, kTag, ""), 2);
}

}  // namespace
}  // namespace codec::ffmpeg
