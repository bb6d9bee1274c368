// SPDX-License-Identifier: MIT
#include "app/command_line.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string_view>

#include "app/option_table.h"
#include "app/time_code.h"
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

// After --help; "--help keys" is what people type as well as "--help=keys".
constexpr std::string_view kKeysWord = "keys";

// A page wins over everything else on the line, errors included: who asks for help gets help.
bool FindsPage(int argc, const char* const* argv, CommandLine* line) {
  for (int i = 1; i < argc && line->page == Page::kNone; ++i) {
    const Option* const option = FindOption(argv[i]).option;
    if (option != nullptr && option->IsPage()) option->store(line, nullptr);
    const bool isLast = i + 1 == argc;
    if (line->page == Page::kHelp && !isLast && argv[i + 1] == kKeysWord) line->page = Page::kKeys;
  }
  return line->page != Page::kNone;
}

void WarnIgnored(const char* word) {
  if (*word != '-') {
    log_warn(kTag, "%s belongs to no option, and is ignored; name files with -i and -o", word);
    return;
  }
  const std::string nearest = NearestOption(word);
  log_warn(kTag, "%s is no option, and is ignored; %s", word,
           nearest.empty() ? "--help lists them" : ("did you mean " + nearest + "?").c_str());
}

// Whether a text is a number and nothing more, as atof reads it.
bool IsNumber(const std::string& text) {
  char* rest = nullptr;
  std::strtod(text.c_str(), &rest);
  return rest != text.c_str() && *rest == '\0';
}

// With --plain a time is what its beginning says, as it has always been.
int ReadTime(const char* flag, const std::optional<std::string>& given, bool isPlain,
             double* seconds) {
  if (!given.has_value()) return 0;
  const std::string& text = *given;
  *seconds = std::atof(text.c_str());
  if (std::isnan(*seconds)) {
    log_error(kTag, "option %s needs a number, not %s; give seconds, as in %s 2.5", flag,
              text.c_str(), flag);
    return -1;
  }
  const std::optional<double> timeCode = isPlain ? std::nullopt : ParseTimeCode(text);
  if (timeCode.has_value()) {
    *seconds = *timeCode;
  } else if (!IsNumber(text)) {
    log_warn(kTag, "%s %s is no time; %g is used", flag, text.empty() ? "''" : text.c_str(),
             *seconds);
  }
  return 0;
}

int Finish(CommandLine* line) {
  if (ReadTime("-s", line->startText, line->isPlain, &line->start) != 0) return -1;
  if (ReadTime("-e", line->endText, line->isPlain, &line->end) != 0) return -1;
  const std::string reason = WhyNotTogether(line->outputValues);
  if (reason.empty()) return 0;
  log_error(kTag, "%s", reason.c_str());
  return -1;
}

}  // namespace

// Note: by hand
//   A library for options (getopt is one) takes the value of an option away from the words that it
//   looks at. Here each word is looked at, values too: "-o -v" writes a file "-v" and logs all.
//   Scripts rely on this, and no library can be told so.
int ParseCommandLine(int argc, const char* const* argv, CommandLine* commandLine) {
  if (FindsPage(argc, argv, commandLine)) return 0;
  bool isValue = false;   // of the option before
  bool mayBeOne = false;  // of an unknown option before, which has been warned of
  for (int i = 1; i < argc; ++i) {
    const auto [option, inside] = FindOption(argv[i]);
    const bool wasValue = isValue;
    isValue = option != nullptr && option->HasValue() && inside == nullptr;
    if (option == nullptr) {
      const bool isBare = *argv[i] != '-';
      if (!wasValue && !(mayBeOne && isBare)) WarnIgnored(argv[i]);
      mayBeOne = !wasValue && !isBare;
      continue;
    }
    mayBeOne = false;
    if (isValue && i + 1 == argc) {
      log_error(kTag, "option %s needs a value, as in %s %s", argv[i], argv[i], option->example);
      return -1;
    }
    if (option->store(commandLine, isValue ? argv[i + 1] : inside) != 0) return -1;
  }
  return Finish(commandLine);
}

void PrintUsage() {
  for (const char* line : kUsage) std::cout << line << std::endl;
}

}  // namespace app
