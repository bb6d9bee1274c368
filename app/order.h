// SPDX-License-Identifier: MIT
// What is to be reversed, and how, as somebody asks for it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/option_names.h"
#include "app/output_keys.h"
#include "reverse/reverse.h"

namespace app {

// What becomes of a file that stands at the output.
enum class Overwrite { kYes, kNo, kAsk };

// One reversal. The tool fills it from its arguments, the C interface from the calls of a program.
struct Order {
  std::string input;
  std::string output;
  double start = 0;  // seconds
  double end = 0;    // seconds
  // Everything that goes beyond the plain reversal is left off; see SwitchOnAdditions.
  bool isPlain = false;
  // The two that a plain order leaves off may be left off one by one.
  bool isMirrored = true;
  bool isSafe = true;
  int64_t memory = 0;  // bytes that the process may take; 0 for what the host grants
  bool hasNoSound = false;
  bool isCopy = false;                         // pictures are written as the packets that they are
  bool isLikeSource = false;                   // encoded as the input is
  bool isStrict = false;                       // a loss is a failure
  std::vector<OutputValue> outputValues = {};  // in the order in which they were set
  Overwrite overwrite = Overwrite::kYes;
  const OptionNames* names = &kToolNames;  // never null

  // Whether the output is the mirror of what a player shows.
  bool Mirrors() const { return isMirrored && !isPlain; }
  // What the option is called that keeps it from being one. Static text.
  const char* AgainstMirror() const { return isPlain ? names->plain : names->noMirror; }
};

// Switches on what goes beyond the plain reversal, unless the order is a plain one. A job that a
// program constructs by itself has none of it. To be called before the job's Init.
void SwitchOnAdditions(const Order& order, codec::Reverse* job);

// Tells the job what the order says of the output. To be called before the job's Init.
void DescribeOutput(const Order& order, codec::Reverse* job);

}  // namespace app
