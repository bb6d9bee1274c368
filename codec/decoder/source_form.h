// SPDX-License-Identifier: MIT
// How a file's pictures and sound are encoded.
#pragma once

#include <cstdint>
#include <string>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The initial values stand for what the file does not have or does not tell.
struct SourceForm {
  AVCodecID video = AV_CODEC_ID_NONE;
  int profile = -1;  // FFmpeg's number
  AVPixelFormat format = AV_PIX_FMT_NONE;
  int width = 0;  // pixels, as the next one
  int height = 0;
  AVRational frameRate = {0, 1};  // pictures a second
  int64_t videoBitRate = 0;       // bit/s
  AVCodecID sound = AV_CODEC_ID_NONE;
  int64_t soundBitRate = 0;  // bit/s
  int channels = 0;
};

// Reads the headers of a local file, and as many packets as tell its streams. Blank, without a
// line, if the file cannot be opened or read backwards: who opens it next says why.
SourceForm ReadSourceForm(const std::string& path);

}  // namespace codec
