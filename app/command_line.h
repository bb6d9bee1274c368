// The program's arguments.
#pragma once

#include <cstdint>
#include <string>

namespace app {

struct CommandLine {
  std::string input;
  std::string output;
  double start = 0;  // seconds
  double end = 0;    // seconds
  // Everything that goes beyond the plain reversal is left off; see SwitchOnAdditions.
  bool isPlain = false;
  int64_t memory = 0;  // bytes that the process may take; 0 for what the host grants
};

// Reads the options and sets the log level for -v. Every argument is looked at as an option, also
// one that is the value of the option before it; unknown ones are ignored. 0, or -1 after an error
// line when the last argument is an option that needs a value, a time is not a number ("nan"), or a
// size is none.
int ParseCommandLine(int argc, const char* const* argv, CommandLine* commandLine);

// Writes the usage text to standard output.
void PrintUsage();

}  // namespace app
