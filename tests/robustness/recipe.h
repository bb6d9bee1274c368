// SPDX-License-Identifier: MIT
// Small clips that are told in a few words.
#pragma once

#include <string>

namespace test_support {

struct Recipe {
  const char* name;   // of the file
  const char* words;  // for ffmpeg; words in braces stand for the inputs and codings below
};

// {v} and {b}: pictures of 160x90, 25 and 15 a second; {v1}: two seconds of the first. {a} and {s}:
// sound at 48 and 16 kHz; {a1}: one second of the first. {x264}: fast H.264. {timing}: the option
// that says how pictures are timed. Made once for each build directory; gives the path.
std::string MakeClip(const Recipe& recipe);

}  // namespace test_support
