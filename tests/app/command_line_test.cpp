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
