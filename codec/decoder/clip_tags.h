// SPDX-License-Identifier: MIT
// What a file tells people of its clip.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace codec {

// A part of a clip that has a name.
struct Chapter {
  double start = 0;   // seconds of the file's stamps, as the next one
  double end = 0;     // the same
  std::string title;  // empty if it has none
};

// The tags, languages and chapters of a clip.
struct ClipTags {
  std::map<std::string, std::string> tags;  // by FFmpeg's names: "title", "artist"
  std::string videoLanguage;                // "eng"; empty if the file does not tell it
  std::string soundLanguage;                // the same
  std::vector<Chapter> chapters;            // in the order of the file
};

}  // namespace codec
