#include "app/command_line.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "base/log.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

// Start and end are said to be in milliseconds and have always been read in seconds; scripts rely
// on both.
constexpr std::array kUsage = {
    "usage: prog [options] <input file>",
    "options:",
    "  -v  Set the logging level to verbose",
    "  -i <in file name> Set the input file",
    "  -o <out file name> Set the output file",
    "  -s <start time> Start time ms",
    "  -e <end time> End time ms",
};

struct ValueOption {
  std::string_view flag;
  const char* example;
  void (*store)(CommandLine*, const char* value);
};

constexpr std::array<ValueOption, 4> kValueOptions = {{
    {"-i", "in.mp4", [](CommandLine* line, const char* value) { line->input = value; }},
    {"-o", "out.mp4", [](CommandLine* line, const char* value) { line->output = value; }},
    {"-s", "2.5", [](CommandLine* line, const char* value) { line->start = std::atof(value); }},
    {"-e", "2.5", [](CommandLine* line, const char* value) { line->end = std::atof(value); }},
}};

}  // namespace

int ParseCommandLine(int argc, const char* const* argv, CommandLine* commandLine) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view flag = argv[i];
    if (flag == "-v") log_set_level(kLogVerbose);
    if (flag == "--plain") commandLine->isPlain = true;
    for (const ValueOption& option : kValueOptions) {
      if (flag != option.flag) continue;
      if (i + 1 == argc) {
        log_error(kTag, "option %s needs a value, as in %s %s", argv[i], argv[i], option.example);
        return -1;
      }
      option.store(commandLine, argv[i + 1]);
      if (std::isnan(commandLine->start) || std::isnan(commandLine->end)) {
        log_error(kTag, "option %s needs a number, not %s; give seconds, as in %s %s", argv[i],
                  argv[i + 1], argv[i], option.example);
        return -1;
      }
    }
  }
  return 0;
}

void PrintUsage() {
  for (const char* line : kUsage) std::cout << line << std::endl;
}

}  // namespace app
