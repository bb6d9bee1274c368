// SPDX-License-Identifier: MIT
// The texts that the program shows instead of a run.
#pragma once

#include <string>

#include "app/command_line.h"

namespace app {

// What the program does, its options and some examples: at most 40 lines of 79 columns.
std::string HelpText();
// The keys of --set.
std::string KeysText();
// The versions of the program, and of FFmpeg's libraries as loaded and as built with; the licence.
std::string VersionText();

// Writes a page to standard output. 0, or -1 after an error line if it could not be written.
int PrintPage(Page page);

}  // namespace app
