// SPDX-License-Identifier: MIT
#include "app/command_line.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/support/log_capture.h"

namespace app {
namespace {

int Parse(std::vector<const char*> arguments, CommandLine* line) {
  arguments.insert(arguments.begin(), "prog");
  return ParseCommandLine(static_cast<int>(arguments.size()), arguments.data(), line);
}

CommandLine Parsed(const std::vector<const char*>& arguments) {
  CommandLine line;
  EXPECT_EQ(Parse(arguments, &line), 0);
  return line;
}

TEST(CommandLine, ReadsTheFourValues) {
  const CommandLine line = Parsed({"-i", "in.mp4", "-o", "out.mp4", "-s", "2", "-e", "5"});
  EXPECT_EQ(line.input, "in.mp4");
  EXPECT_EQ(line.output, "out.mp4");
  EXPECT_EQ(line.start, 2.0);
  EXPECT_EQ(line.end, 5.0);
}

TEST(CommandLine, IgnoresBareNamesAndLongerFlags) {
  const CommandLine line = Parsed({"clip.mp4", "-in", "x", "-", "--", "--o", "y"});
  EXPECT_EQ(line.input, "");
  EXPECT_EQ(line.output, "");
}

TEST(CommandLine, LooksAtValuesAsFlagsToo) {
  const test_support::LogCapture log;
  log_set_level(kLogInfo);
  const CommandLine line = Parsed({"-o", "-v"});
  EXPECT_EQ(line.output, "-v");
  EXPECT_TRUE(log_enabled(kLogVerbose));
}

TEST(CommandLine, SwitchesTheLevelOnlyForTheWholeFlag) {
  const test_support::LogCapture log;
  log_set_level(kLogInfo);
  Parsed({"-vv", "v"});
  EXPECT_FALSE(log_enabled(kLogDebug));
  Parsed({"-v"});
  EXPECT_TRUE(log_enabled(kLogVerbose));
}

TEST(CommandLine, ReadsWordsAsZero) {
  EXPECT_EQ(Parsed({"-s", "abc"}).start, 0.0);
  EXPECT_EQ(Parsed({"-e", "1.5x"}).end, 1.5);
  EXPECT_TRUE(std::isinf(Parsed({"-e", "inf"}).end));
}

TEST(CommandLine, LetsALaterFlagWin) { EXPECT_EQ(Parsed({"-i", "a", "-i", "b"}).input, "b"); }

TEST(CommandLine, ReadsPlainAnywhere) {
  EXPECT_FALSE(Parsed({"-i", "in.mp4"}).isPlain);
  EXPECT_TRUE(Parsed({"--plain", "-i", "in.mp4"}).isPlain);
  EXPECT_TRUE(Parsed({"-i", "in.mp4", "--plain"}).isPlain);
  EXPECT_FALSE(Parsed({"--plainly", "-plain"}).isPlain);
  const CommandLine line = Parsed({"-o", "--plain"});
  EXPECT_EQ(line.output, "--plain");
  EXPECT_TRUE(line.isPlain);
}

TEST(CommandLine, ReadsTheMemoryThatARunMayTake) {
  constexpr int64_t kMegabyte = int64_t{1} << 20;
  EXPECT_EQ(Parsed({"-i", "in.mp4"}).memory, 0);
  EXPECT_EQ(Parsed({"--memory", "300M"}).memory, 300 * kMegabyte);
  EXPECT_EQ(Parsed({"--memory=1.5G", "-i", "in.mp4"}).memory, 1536 * kMegabyte);
  EXPECT_EQ(Parsed({"--memory", "1G", "--memory=5000"}).memory, 5000);
  EXPECT_EQ(Parsed({"--memoryx", "--mem=5", "-i=x", "-memory"}).memory, 0);
  EXPECT_EQ(Parsed({"-i=x"}).input, "") << "only long options have their value inside";
}

TEST(CommandLine, RefusesWhatIsNoSize) {
  for (const char* size : {"", "0", "-5", "much", "300Q"}) {
    const std::string inside = std::string("--memory=") + size;
    for (const std::vector<const char*>& arguments :
         {std::vector<const char*>{"--memory", size}, std::vector<const char*>{inside.c_str()}}) {
      const test_support::LogCapture log;
      CommandLine line;
      EXPECT_EQ(Parse(arguments, &line), -1);
      EXPECT_TRUE(log.Has(kLogError, "reverse::Main",
                          std::string("option --memory needs a size, not ") + size +
                              "; give bytes, or K, M or G, as in --memory 300M"));
    }
  }
}

TEST(CommandLine, RefusesAFlagWithoutItsValue) {
  for (const std::string example :
       {"-i in.mp4", "-o out.mp4", "-s 2.5", "-e 2.5", "--memory 300M"}) {
    const test_support::LogCapture log;
    CommandLine line;
    const std::string flag = example.substr(0, example.find(' '));
    EXPECT_EQ(Parse({"-i", "in.mp4", flag.c_str()}, &line), -1);
    EXPECT_TRUE(
        log.Has(kLogError, "reverse::Main", "option " + flag + " needs a value, as in " + example));
  }
}

TEST(CommandLine, ReadsTimecodesUnlessPlain) {
  EXPECT_EQ(Parsed({"-s", "1:30"}).start, 90.0);
  EXPECT_EQ(Parsed({"-e", "00:01:30.5"}).end, 90.5);
  const test_support::LogCapture log;
  EXPECT_EQ(Parsed({"-s", "1:30", "--plain"}).start, 1.0);
  EXPECT_TRUE(log.Has(kLogWarn, "reverse::Main", "-s 1:30 is no time; 1 is used"));
}

TEST(CommandLine, WarnsOfWhatIsNoTime) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"abc", "-s abc is no time; 0 is used"}, {"1.5x", "-s 1.5x is no time; 1.5 is used"},
      {"2,5", "-s 2,5 is no time; 2 is used"}, {"1:75", "-s 1:75 is no time; 1 is used"},
      {"-e", "-s -e is no time; 0 is used"},   {"", "-s '' is no time; 0 is used"}};
  for (const auto& [value, warning] : rows) {
    const test_support::LogCapture log;
    Parsed({"-s", value, "3"});
    EXPECT_TRUE(log.Has(kLogWarn, "reverse::Main", warning)) << value;
  }
  for (const char* value : {"5", "-5", "2.5", "1e3", "inf", " 7", "1:30", "0x10"}) {
    const test_support::LogCapture log;
    Parsed({"-s", value});
    EXPECT_TRUE(log.Texts("reverse::Main").empty()) << value;
  }
}

TEST(CommandLine, NamesTheWordsThatItIgnores) {
  const test_support::LogCapture log;
  Parsed({"--plian", "-S", "5", "--start=5", "c.mp4", "-x", "-o", "--odd.mp4", "-s", "-5"});
  EXPECT_EQ(log.Texts("reverse::Main"),
            (std::vector<std::string>{"--plian is no option, and is ignored; did you mean --plain?",
                                      "-S is no option, and is ignored; did you mean -s?",
                                      "--start=5 is no option, and is ignored; did you mean -s?",
                                      "-x is no option, and is ignored; --help lists them"}));
  const test_support::LogCapture bare;
  Parsed({"-i", "a.mp4", "b.mp4"});
  EXPECT_EQ(bare.Texts("reverse::Main"),
            (std::vector<std::string>{
                "b.mp4 belongs to no option, and is ignored; name files with -i and -o"}));
}

TEST(CommandLine, ShowsPagesWhateverElseTheLineHolds) {
  EXPECT_EQ(Parsed({"-i", "in.mp4"}).page, Page::kNone);
  EXPECT_EQ(Parsed({"--help"}).page, Page::kHelp);
  EXPECT_EQ(Parsed({"--memory", "none", "-h"}).page, Page::kHelp);
  EXPECT_EQ(Parsed({"--version"}).page, Page::kVersion);
  EXPECT_EQ(Parsed({"--help=keys", "-s"}).page, Page::kKeys);
  EXPECT_EQ(Parsed({"--help", "keys"}).page, Page::kKeys);
  EXPECT_EQ(Parsed({"--help", "key"}).page, Page::kHelp);
}

TEST(CommandLine, ReadsTheKeysOfTheOutput) {
  const CommandLine line = Parsed({"--set", "preset=fast", "--set=gop=5", "--set=gop=6"});
  ASSERT_EQ(line.outputValues.size(), 3U);
  EXPECT_EQ(line.outputValues[0].key, "preset");
  EXPECT_EQ(line.outputValues[0].value, "fast");
  EXPECT_EQ(line.outputValues[2].value, "6");
}

TEST(CommandLine, RefusesValuesThatDoNotServe) {
  const std::vector<std::pair<std::vector<const char*>, const char*>> rows = {
      {{"--set", "fast"}, "option --set needs KEY=VALUE, not fast; as in --set preset=fast"},
      {{"--set", "=fast"}, "option --set needs KEY=VALUE, not =fast; as in --set preset=fast"},
      {{"--set=gop=0"}, "--set gop takes 1 to 1000000 pictures, not 0"},
      {{"--set", "rotation=90"}, "--set rotation does nothing alone; set target-width too"},
      {{"--overwrite", "maybe"}, "option --overwrite needs ask, yes or no, not maybe"},
      {{"--progress=xml"}, "option --progress needs json, not xml"}};
  for (const auto& [arguments, text] : rows) {
    const test_support::LogCapture log;
    CommandLine line;
    EXPECT_EQ(Parse(arguments, &line), -1);
    EXPECT_TRUE(log.Has(kLogError, "reverse::Main", text)) << text;
  }
}

TEST(CommandLine, ReadsTheSwitches) {
  const test_support::LogCapture log;
  const CommandLine line =
      Parsed({"--no-sound", "--quiet", "--overwrite=no", "--progress", "json"});
  EXPECT_TRUE(line.hasNoSound && line.isQuiet && line.isJson);
  EXPECT_EQ(line.overwrite, Overwrite::kNo);
  EXPECT_FALSE(log_enabled(kLogWarn));
  EXPECT_TRUE(log_enabled(kLogError));
  EXPECT_EQ(Parsed({"--overwrite", "ask"}).overwrite, Overwrite::kAsk);
  EXPECT_EQ(Parsed({"--overwrite", "no", "--overwrite", "yes"}).overwrite, Overwrite::kYes);
  const CommandLine none = Parsed({"-i", "in.mp4"});
  EXPECT_FALSE(none.hasNoSound || none.isQuiet || none.isJson);
  EXPECT_EQ(none.overwrite, Overwrite::kYes);
}

TEST(CommandLine, PrintsTheUsageToStandardOutput) {
  testing::internal::CaptureStdout();
  PrintUsage();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "usage: prog [options] <input file>\n"
            "options:\n"
            "  -v  Set the logging level to verbose\n"
            "  -i <in file name> Set the input file\n"
            "  -o <out file name> Set the output file\n"
            "  -s <start time> Start time ms\n"
            "  -e <end time> End time ms\n");
}

}  // namespace
}  // namespace app
