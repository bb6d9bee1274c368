// SPDX-License-Identifier: MIT
// Runs other programs.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace test_support {

struct CommandResult {
  int status = -1;  // exit status, or 128 + signal
  bool timedOut = false;
  long peakKilobytes = 0;  // largest resident set
  std::string out;
  std::string err;
};

// Runs a program (found on PATH when its name has no slash) with its output collected; kills it
// when the time is over. Standard input is empty.
CommandResult Run(const std::vector<std::string>& arguments,
                  std::chrono::seconds limit = std::chrono::seconds(240));

// Runs the built clip-reverse with these arguments. A run that tells how many pictures it has
// reversed fails the test if its output does not hold as many.
CommandResult RunProgram(std::vector<std::string> arguments,
                         std::chrono::seconds limit = std::chrono::seconds(240));

// The line of a program's standard error that says what was reversed, without time and tag; empty
// if there is none.
std::string ReversedLine(const std::string& log);

// Adds the words of a text, parted by spaces, to a program's arguments.
void AppendWords(const std::string& text, std::vector<std::string>* words);

// The path of the built clip-reverse.
std::string ProgramPath();

// The option of the installed ffmpeg that says how pictures are timed ("passthrough", "vfr"): its
// old name is gone from newer releases, its new one unknown to older ones.
std::string FrameTimingOption();

// A path in a directory of this process that is removed when the process ends.
std::string ScratchPath(const std::string& name);

}  // namespace test_support
