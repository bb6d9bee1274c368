// SPDX-License-Identifier: MIT
#include "app/overwrite.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "base/file_identity.h"
#include "base/local_file.h"

namespace app {
namespace {

bool IsFile(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool IsYes(const std::string& answer) { return answer == "y" || answer == "Y" || answer == "yes"; }

}  // namespace

std::string WhyNotOverwritten(const CommandLine& line, const Ask& ask) {
  if (line.overwrite == Overwrite::kYes) return "";
  const std::string output = but::LocalPath(line.output);
  if (!IsFile(output) || but::IsSameFile(output, but::LocalPath(line.input))) return "";
  if (line.overwrite == Overwrite::kNo) {
    return line.output + " exists; choose another name for -o, or allow it with --overwrite yes";
  }
  if (ask == nullptr) {
    return line.output + " exists, and there is no terminal to ask at; use --overwrite yes or no";
  }
  if (IsYes(ask(line.output + " exists; replace it? [y/N] "))) return "";
  return line.output + " stays as it is; choose another name for -o";
}

bool KeepsExisting(const CommandLine& line) {
  if (line.overwrite == Overwrite::kAsk) return !IsFile(but::LocalPath(line.output));
  return line.overwrite == Overwrite::kNo;
}

Ask AskAtTerminal() {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) return nullptr;
  return [](const std::string& question) {
    std::fputs(question.c_str(), stderr);
    std::fflush(stderr);
    std::string answer;
    std::getline(std::cin, answer);
    return answer;
  };
}

}  // namespace app
