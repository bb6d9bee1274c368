// SPDX-License-Identifier: MIT
#include "tests/reverse/walk_difference.h"

#include <algorithm>
#include <sstream>

namespace codec {
namespace {

std::string FirstDifference(const std::vector<WalkedFrame>& expected,
                            const std::vector<WalkedFrame>& seen) {
  const size_t both = std::min(expected.size(), seen.size());
  size_t at = 0;
  while (at < both && expected[at] == seen[at]) ++at;
  if (at == expected.size() && at == seen.size()) return "";
  std::ostringstream out;
  const auto tell = [&out, at](const char* which, const std::vector<WalkedFrame>& frames) {
    out << "\n    " << which << " " << frames.size() << " frames, ";
    if (at < frames.size()) {
      out << "here " << frames[at];
    } else {
      out << "none here";
    }
  };
  out << "frame " << at;
  tell("wanted", expected);
  tell("given ", seen);
  return out.str();
}

}  // namespace

Steps Only(FrameType type, Steps steps) {
  for (WalkedStep& step : steps) {
    step.frames.erase(std::remove_if(step.frames.begin(), step.frames.end(),
                                     [type](const auto& frame) { return frame.type != type; }),
                      step.frames.end());
  }
  return steps;
}

Steps Settled(Steps steps, size_t unsettled) {
  for (WalkedStep& step : steps) {
    size_t left = unsettled;
    for (WalkedFrame& frame : step.frames) {
      if (frame.type != kAudioFrame || left == 0) continue;
      frame.hash = 0;
      --left;
    }
  }
  return steps;
}

Steps Filled(Steps steps) {
  steps.erase(std::remove_if(steps.begin(), steps.end(),
                             [](const auto& step) { return step.frames.empty(); }),
              steps.end());
  return steps;
}

std::string Difference(const Steps& expected, const Steps& seen) {
  for (size_t i = 0; i < std::max(expected.size(), seen.size()); ++i) {
    const WalkedStep wanted = i < expected.size() ? expected[i] : WalkedStep{};
    const WalkedStep given = i < seen.size() ? seen[i] : WalkedStep{};
    std::ostringstream out;
    out << "step " << i << " of " << expected.size() << ", cursor " << wanted.cursor << ", ";
    const std::string frames = FirstDifference(wanted.frames, given.frames);
    if (!frames.empty()) return out.str() + frames;
    if (wanted.cursor != given.cursor) {
      out << "but given " << given.cursor;
      return out.str();
    }
  }
  return "";
}

}  // namespace codec
