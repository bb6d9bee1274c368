// SPDX-License-Identifier: MIT
#include "app/overwrite.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/command.h"

namespace app {
namespace {

using test_support::ScratchPath;

std::string MakeFile(const std::string& name) {
  const std::string path = ScratchPath(name);
  std::ofstream(path) << "before";
  return path;
}

Order Line(const std::string& output, Overwrite overwrite) {
  Order line;
  line.input = "in.mp4";
  line.output = output;
  line.overwrite = overwrite;
  return line;
}

TEST(Overwrite, StandsAgainstNothingUnlessAskedTo) {
  EXPECT_EQ(WhyNotOverwritten(Line(MakeFile("stands.mp4"), Overwrite::kYes), nullptr), "");
}

TEST(Overwrite, RefusesAFileThatStands) {
  const std::string path = MakeFile("stands.mp4");
  const std::string advice =
      path + " exists; choose another name for -o, or allow it with --overwrite yes";
  EXPECT_EQ(WhyNotOverwritten(Line(path, Overwrite::kNo), nullptr), advice);
  EXPECT_NE(WhyNotOverwritten(Line("file:" + path, Overwrite::kNo), nullptr), "");
}

TEST(Overwrite, LetsThroughWhatLosesNothing) {
  for (const std::string& path :
       {ScratchPath("absent.mp4"), std::string("/dev/null"), std::string()}) {
    for (const Overwrite overwrite : {Overwrite::kNo, Overwrite::kAsk}) {
      EXPECT_EQ(WhyNotOverwritten(Line(path, overwrite), nullptr), "") << path;
    }
  }
  Order ontoItself = Line(MakeFile("itself.mp4"), Overwrite::kNo);
  ontoItself.input = ontoItself.output;
  EXPECT_EQ(WhyNotOverwritten(ontoItself, nullptr), "") << "the job says this better";
}

TEST(Overwrite, AsksAndTakesOnlyAYes) {
  const std::string path = MakeFile("asked.mp4");
  const Order line = Line(path, Overwrite::kAsk);
  std::string question;
  for (const char* answer : {"y", "Y", "yes"}) {
    EXPECT_EQ(WhyNotOverwritten(line,
                                [&](const std::string& text) {
                                  question = text;
                                  return answer;
                                }),
              "");
  }
  EXPECT_EQ(question, path + " exists; replace it? [y/N] ");
  for (const char* answer : {"", "n", "no", "Yes!", " y"}) {
    EXPECT_EQ(WhyNotOverwritten(line, [&](const std::string&) { return answer; }),
              path + " stays as it is; choose another name for -o");
  }
  EXPECT_EQ(WhyNotOverwritten(line, nullptr),
            path + " exists, and there is no terminal to ask at; use --overwrite yes or no");
}

TEST(Overwrite, KeepsWhatNobodyHasAllowedToReplace) {
  const std::string stands = MakeFile("stands.mp4");
  const std::string absent = ScratchPath("absent.mp4");
  EXPECT_FALSE(KeepsExisting(Line(absent, Overwrite::kYes)));
  EXPECT_TRUE(KeepsExisting(Line(absent, Overwrite::kNo)));
  EXPECT_TRUE(KeepsExisting(Line(stands, Overwrite::kNo)));
  EXPECT_TRUE(KeepsExisting(Line(absent, Overwrite::kAsk))) << "nobody is asked";
  EXPECT_FALSE(KeepsExisting(Line(stands, Overwrite::kAsk))) << "the answer was yes, or no run is";
}

}  // namespace
}  // namespace app
