// SPDX-License-Identifier: MIT
// Reads what a file tells people of its clip, and mirrors what has times.
#pragma once

#include <vector>

#include "codec/decoder/clip_tags.h"

struct AVFormatContext;

namespace codec {

// Reads what is about the clip. What is about the making of this file (its encoder, its time code,
// when it was made) is left out, as it is not true of another file. The numbers are those of
// streams, -1 for none.
ClipTags ReadClipTags(const AVFormatContext* file, int video, int sound);

// The chapters of the reversed range [start, end), all in seconds from `zero` of the stamps: in the
// order of the output, in its time, cut to the range.
std::vector<Chapter> MirroredChapters(const std::vector<Chapter>& chapters, double zero,
                                      double start, double end);

}  // namespace codec
