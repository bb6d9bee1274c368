// SPDX-License-Identifier: MIT
#include "base/ini_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <string>

#include "tests/support/command.h"

namespace {

// Reads as the encoder does, with a buffer of 1024 characters and "none" for a missing key.
std::string Read(const std::string& path, const char* section, const char* key) {
  std::array<char, 1024> buffer;
  buffer.fill('#');
  const uint32_t length =
      GetPrivateProfileStringA(section, key, "none", buffer.data(), buffer.size(), path.c_str());
  const std::string value = buffer.data();
  EXPECT_EQ(value.size(), length);
  EXPECT_EQ(buffer[length + 1], '#') << "written past the terminator";
  return value;
}

std::string FileWith(const std::string& text) {
  const std::string path = test_support::ScratchPath("test.cfg");
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

TEST(IniFile, ReadsAKeyOfItsSection) {
  const std::string path =
      FileWith("[other]\nprofile=wrong\n[encoder]\nprofile=high\nlevel = 4.1 \n[last]\nlevel=9\n");
  EXPECT_EQ(Read(path, "encoder", "profile"), "high");
  EXPECT_EQ(Read(path, "encoder", "level"), "4.1");
  EXPECT_EQ(Read(path, "last", "level"), "9");
}

TEST(IniFile, GivesTheDefaultForAMissingFileSectionOrKey) {
  EXPECT_EQ(Read(test_support::ScratchPath("absent.cfg"), "encoder", "profile"), "none");
  const std::string path = FileWith("profile=outside\n[encoder]\nlevel=4\n");
  EXPECT_EQ(Read(path, "encoder", "profile"), "none");
  EXPECT_EQ(Read(path, "decoder", "level"), "none");
  EXPECT_EQ(Read(FileWith(""), "encoder", "level"), "none");
}

TEST(IniFile, GivesTheDefaultForADirectory) { EXPECT_EQ(Read(".", "encoder", "profile"), "none"); }

TEST(IniFile, GivesAnEmptyValueForAKeyWithoutOne) {
  EXPECT_EQ(Read(FileWith("[encoder]\nlevel=\n"), "encoder", "level"), "");
}

TEST(IniFile, ComparesNamesWithoutCaseAndKeepsTheCaseOfValues) {
  const std::string path = FileWith("[Encoder]\nPROFILE=High\n");
  EXPECT_EQ(Read(path, "eNCODER", "profile"), "High");
}

TEST(IniFile, TakesTheFirstOfSeveralValues) {
  EXPECT_EQ(Read(FileWith("[encoder]\nlevel=3\nlevel=4\n[encoder]\nlevel=5\n"), "encoder", "level"),
            "3");
}

TEST(IniFile, ReadsLineEndsOfOtherSystemsAndAByteOrderMark) {
  const std::string path = FileWith("\xEF\xBB\xBF[encoder]\r\nprofile=main\r\nlevel=4\r\n");
  EXPECT_EQ(Read(path, "encoder", "profile"), "main");
  EXPECT_EQ(Read(path, "encoder", "level"), "4");
}

TEST(IniFile, SkipsCommentsAndLinesItCannotRead) {
  const std::string path =
      FileWith("; profile=a\n[encoder]\n# level=1\nnonsense\nlevel=4 ; note\n[broken\nprofile=b\n");
  EXPECT_EQ(Read(path, "encoder", "level"), "4");
}

TEST(IniFile, ReadsTheLastLineWithoutALineEnd) {
  EXPECT_EQ(Read(FileWith("[encoder]\nlevel=4"), "encoder", "level"), "4");
}

TEST(IniFile, CutsAValueToTheBuffer) {
  const std::string path = FileWith("[encoder]\nprofile=baseline\n");
  std::array<char, 10> buffer;
  for (const uint32_t size : {1U, 2U, 8U, 9U, 10U}) {
    buffer.fill('#');
    const uint32_t length =
        GetPrivateProfileStringA("encoder", "profile", "x", buffer.data(), size, path.c_str());
    EXPECT_EQ(length, std::min(size - 1, 8U));
    EXPECT_STREQ(buffer.data(), std::string("baseline").substr(0, size - 1).c_str());
    for (size_t i = length + 1; i < buffer.size(); ++i) EXPECT_EQ(buffer.at(i), '#');
  }
}

TEST(IniFile, CutsTheDefaultToTheBuffer) {
  std::array<char, 4> buffer{};
  const std::string path = test_support::ScratchPath("absent.cfg");
  EXPECT_EQ(GetPrivateProfileStringA("a", "b", "default", buffer.data(), 4, path.c_str()), 3U);
  EXPECT_STREQ(buffer.data(), "def");
}

TEST(IniFile, CopiesNothingWithoutRoom) {
  char untouched = '#';
  const std::string path = FileWith("[encoder]\nlevel=4\n");
  EXPECT_EQ(GetPrivateProfileStringA("encoder", "level", "x", &untouched, 0, path.c_str()), 0U);
  EXPECT_EQ(GetPrivateProfileStringA("encoder", "level", "x", nullptr, 9, path.c_str()), 0U);
  EXPECT_EQ(untouched, '#');
}

TEST(IniFile, TakesNothingOfAnOverlongLineForALineOfItsOwn) {
  // Wherever the library's buffer ends, the rest of the line holds "level=wrong" several times.
  std::string line = "profile=";
  while (line.size() < 5000) line += "level=wrong";
  const std::string path = FileWith("[encoder]\n" + line + "\nlevel=4\n");
  EXPECT_EQ(Read(path, "encoder", "level"), "4");
  EXPECT_EQ(Read(path, "encoder", "profile").substr(0, 100), line.substr(8, 100));
}

}  // namespace
