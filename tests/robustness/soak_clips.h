// SPDX-License-Identifier: MIT
// More clips to be damaged: those that ask more of the mirror, and those that can be copied. All of
// them are sound, small and about a second long.
#pragma once

#include <string>
#include <vector>

namespace test_support {

// Edit lists, pictures at uneven distances, fields, recordings joined end to end, sound that
// changes its rate or has holes.
std::vector<std::string> MirrorClips();

// Every picture of them stands alone.
std::vector<std::string> CopyClips();

}  // namespace test_support
