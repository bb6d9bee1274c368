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

std::string WhyNotOverwritten(const Order& order, const Ask& ask) {
  if (order.overwrite == Overwrite::kYes) return "";
  const OptionNames& names = *order.names;
  const std::string output = but::LocalPath(order.output);
  if (!IsFile(output) || but::IsSameFile(output, but::LocalPath(order.input))) return "";
  if (order.overwrite == Overwrite::kNo) {
    return order.output + " exists; choose " + names.otherOutput + ", or allow it with " +
           names.overwrite + " yes";
  }
  if (ask == nullptr) {
    return order.output + " exists, and there is no terminal to ask at; use " + names.overwrite +
           " yes or no";
  }
  if (IsYes(ask(order.output + " exists; replace it? [y/N] "))) return "";
  return order.output + " stays as it is; choose " + names.otherOutput;
}

bool KeepsExisting(const Order& order) {
  if (order.overwrite == Overwrite::kAsk) return !IsFile(but::LocalPath(order.output));
  return order.overwrite == Overwrite::kNo;
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
