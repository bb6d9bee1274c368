// SPDX-License-Identifier: MIT
// The options of the program.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/command_line.h"

namespace app {

// What stands after an option, as completions of shells tell it apart. Nothing stands after kNone,
// nor after kPage, which shows a text instead of a run.
enum class OptionValue { kNone, kPage, kInput, kOutput, kTime, kSize, kChoice, kKey };

// One option: what the parser does with it, and what help, warnings and completions say of it.
struct Option {
  const char* group;    // heading in the help
  const char* name;     // "-s", "--memory"
  const char* synonym;  // another name for the same; empty if there is none
  const char* meant;    // a word that people write instead; the option is not called so
  OptionValue value;
  const char* valueName;  // "TIME"; empty without a value
  const char* example;    // a value
  const char* choices;    // the values of kChoice, parted by blanks; empty for the others
  const char* sentence;   // at most 55 letters
  // Stores the value, which is null without one. 0, or -1 after an error line.
  int (*store)(CommandLine* line, const char* value);

  bool HasValue() const { return value != OptionValue::kNone && !IsPage(); }
  bool IsPage() const { return value == OptionValue::kPage; }
};

// In the order of the help.
const std::vector<Option>& Options();

// The option that a word stands for, and the value inside the word, as in "--memory=300M"; null if
// the value is the next word.
struct OptionWord {
  const Option* option = nullptr;  // null if the word is no option
  const char* inside = nullptr;
};

// Only names of two dashes have their value inside.
OptionWord FindOption(const char* word);

// The option that was meant by a word that is none, as "-s" or "--set preset="; empty if none is
// near.
std::string NearestOption(std::string_view word);

}  // namespace app
