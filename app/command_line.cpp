#include "app/command_line.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "app/byte_size.h"
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

constexpr std::array<ValueOption, 5> kValueOptions = {{
    {"-i", "in.mp4", [](CommandLine* line, const char* value) { line->input = value; }},
    {"-o", "out.mp4", [](CommandLine* line, const char* value) { line->output = value; }},
    {"-s", "2.5", [](CommandLine* line, const char* value) { line->start = std::atof(value); }},
    {"-e", "2.5", [](CommandLine* line, const char* value) { line->end = std::atof(value); }},
    {"--memory", "300M",
     [](CommandLine* line, const char* value) { line->memory = ParseByteSize(value); }},
}};

int Store(const ValueOption& option, const char* value, CommandLine* line) {
  const char* const flag = option.flag.data();
  option.store(line, value);
  if (std::isnan(line->start) || std::isnan(line->end)) {
    log_error(kTag, "option %s needs a number, not %s; give seconds, as in %s %s", flag, value,
              flag, option.example);
    return -1;
  }
  if (line->memory < 0) {
    log_error(kTag, "option %s needs a size, not %s; give bytes, or K, M or G, as in %s %s", flag,
              value, flag, option.example);
    return -1;
  }
  return 0;
}

// The value in an argument such as "--memory=300M"; null where the argument is none of this option.
const char* ValueInside(const ValueOption& option, const char* argument) {
  const std::string_view text = argument;
  const size_t length = option.flag.size();
  const bool isLong = option.flag.substr(0, 2) == "--";
  if (!isLong || text.size() <= length || text.substr(0, length) != option.flag) return nullptr;
  return text[length] == '=' ? argument + length + 1 : nullptr;
}

}  // namespace

int ParseCommandLine(int argc, const char* const* argv, CommandLine* commandLine) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view flag = argv[i];
    if (flag == "-v") log_set_level(kLogVerbose);
    if (flag == "--plain") commandLine->isPlain = true;
    for (const ValueOption& option : kValueOptions) {
      const char* value = ValueInside(option, argv[i]);
      if (value == nullptr && flag != option.flag) continue;
      if (value == nullptr && i + 1 == argc) {
        log_error(kTag, "option %s needs a value, as in %s %s", argv[i], argv[i], option.example);
        return -1;
      }
      if (Store(option, value == nullptr ? argv[i + 1] : value, commandLine) != 0) return -1;
    }
  }
  return 0;
}

void PrintUsage() {
  for (const char* line : kUsage) std::cout << line << std::endl;
}

}  // namespace app
