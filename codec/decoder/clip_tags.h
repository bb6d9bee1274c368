// SPDX-License-Identifier: MIT
// What a file tells people of its clip.
#pragma once

#include <map>
#include <string>
#include <vector>

struct AVFormatContext;

namespace codec {

struct Chapter {
  double start = 0;  // seconds of the file's stamps, as the next one
  double end = 0;
  std::string title;
};

struct ClipTags {
  std::map<std::string, std::string> tags;  // by FFmpeg's names: "title", "artist"
  std::string videoLanguage;                // "eng"; empty if the file does not tell it
  std::string soundLanguage;
  std::vector<Chapter> chapters;
};

// Reads what is about the clip. What is about the making of this file (its encoder, its time code,
// when it was made) is left out, as it is not true of another file. The numbers are those of
// streams, -1 for none.
ClipTags ReadClipTags(const AVFormatContext* file, int video, int sound);

// The chapters of the reversed range [start, end), all in seconds from `zero` of the stamps: in the
// order of the output, in its time, cut to the range.
std::vector<Chapter> MirroredChapters(const std::vector<Chapter>& chapters, double zero,
                                      double start, double end);

}  // namespace codec
