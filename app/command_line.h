// SPDX-License-Identifier: MIT
// The program's arguments.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/output_keys.h"

namespace app {

// What becomes of a file that stands at the output.
enum class Overwrite { kYes, kNo, kAsk };

// A text that is shown instead of a run.
enum class Page { kNone, kHelp, kKeys, kVersion };

struct CommandLine {
  std::string input;
  std::string output;
  double start = 0;  // seconds
  double end = 0;    // seconds
  // Everything that goes beyond the plain reversal is left off; see SwitchOnAdditions.
  bool isPlain = false;
  int64_t memory = 0;  // bytes that the process may take; 0 for what the host grants
  // What start and end were read from, if they were given.
  std::optional<std::string> startText = std::nullopt;
  std::optional<std::string> endText = std::nullopt;
  bool hasNoSound = false;
  bool isLikeSource = false;                   // encoded as the input is
  bool isStrict = false;                       // a loss is a failure
  std::vector<OutputValue> outputValues = {};  // in the order of the arguments
  Overwrite overwrite = Overwrite::kYes;
  bool isQuiet = false;
  bool isJson = false;  // progress as JSON
  Page page = Page::kNone;
};

// Reads the options and sets the log level for -v and --quiet. Every argument is looked at as an
// option, also one that is the value of the option before it; unknown ones are ignored, after a
// warning unless they are such a value. If a page is asked for, nothing else is read.
//
// 0, or -1 after an error line: the last argument is an option that needs a value, or a value does
// not serve.
int ParseCommandLine(int argc, const char* const* argv, CommandLine* commandLine);

// Writes the usage text to standard output.
void PrintUsage();

}  // namespace app
