// SPDX-License-Identifier: MIT
// The keys that describe an output.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/option_names.h"

namespace app {

// What a key's value looks like.
enum class KeyType {
  kText,
  kFile,    // the path of a file
  kFlag,    // 0 or 1
  kChoice,  // one of some words
  kPreset,  // the same, or a number
  kInt,
  kEven,  // an even int
  kDouble,
};

// One key of the output's description. The range counts for int and even, the choices for choice;
// the other types have neither.
struct OutputKey {
  const char* name;
  // Whether --set takes the key: the job can do with any of its values. The others are for programs
  // that describe a whole output by themselves.
  bool isSettable;
  KeyType type;
  int64_t lowest;
  int64_t highest;
  const char* unit;      // empty if there is none
  const char* choices;   // parted by blanks
  const char* needs;     // a key without which this one does nothing; empty if there is none
  const char* sentence;  // for a person who knows video but not this program
};

// A key and its value.
struct OutputValue {
  std::string key;
  std::string value;
};

const std::vector<OutputKey>& OutputKeys();

// "int", "text" and so on.
const char* TypeName(KeyType type);
// What the values may be: "2 to 8192 pixels, even", "ultrafast, superfast, ..."; empty for any
// text.
std::string RangeText(const OutputKey& key);

// What stands against a value for a key of --set: why and what would do. Empty if nothing does. No
// file is opened.
std::string WhyNotSet(const OutputValue& value, const OptionNames& names = kToolNames);
// The same for all values together: a key that does nothing without another one.
std::string WhyNotTogether(const std::vector<OutputValue>& values,
                           const OptionNames& names = kToolNames);

}  // namespace app
