// SPDX-License-Identifier: MIT
// What an output tells people of its clip.
#pragma once

#include <string>

#include "codec/encoder/encoder_settings.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Adds the tags, languages and chapters of the settings to a file whose streams exist and whose
// header is not written. 0, or AVERROR(ENOMEM).
int AddTags(const EncoderSettings& settings, AVFormatContext* file);

// A line of the key "chapters": start and end in milliseconds, and the title. Takes seconds.
std::string ChapterLine(double start, double end, const std::string& title);

}  // namespace codec
