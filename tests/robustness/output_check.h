// SPDX-License-Identifier: MIT
// Judges what a run that tells success has written.
#pragma once

#include <string>

#include "app/command_line.h"
#include "reverse/account.h"

namespace test_support {

// What a run tells of itself.
struct ToldRun {
  codec::JobAccount account;
  double seconds = 0;  // length of the range
};

// Whether a player can show the file: a picture comes out of it, and every packet of its index is
// there. Pictures that were copied may be damaged as those of the source are: packets of them will
// do.
enum class Pictures { kDecoded, kCopied };
bool IsPlayable(const std::string& path, Pictures pictures = Pictures::kDecoded);

// The exit status of a body that ran this command line and met no failure: kReversedStatus,
// kUnplayableStatus or kUncountedStatus, with a line of the log about the last.
int StatusOf(const app::CommandLine& line, const ToldRun& told);

}  // namespace test_support
