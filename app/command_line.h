// SPDX-License-Identifier: MIT
// The program's arguments.
#pragma once

#include <optional>
#include <string>

#include "app/order.h"

namespace app {

// A text that is shown instead of a run.
enum class Page { kNone, kHelp, kKeys, kVersion };

// An order, and how the run is shown.
struct CommandLine : Order {
  // What start and end were read from, if they were given.
  std::optional<std::string> startText = std::nullopt;
  std::optional<std::string> endText = std::nullopt;
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
