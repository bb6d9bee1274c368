// SPDX-License-Identifier: MIT
// What --like-source stands for.
#pragma once

#include "app/command_line.h"

namespace app {

// The command line with the keys in its place that encode the output as the input is. Keys that
// were given count more: a codec leaves out what is meant for the source's, a quality the quality.
// A line for each codec that cannot be encoded. As it is without --like-source, and with --plain,
// after a warning.
CommandLine WithSourceKeys(const CommandLine& line);

}  // namespace app
