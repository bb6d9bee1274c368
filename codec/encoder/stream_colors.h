// SPDX-License-Identifier: MIT
// Tells an encoder what the numbers of its pictures stand for.
#pragma once

#include "codec/encoder/encoder_settings.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Sets range, matrix, primaries, transfer and chroma position of the settings on a context that is
// not open yet; empty settings leave it alone. 0, or -1 after an error line for a name that FFmpeg
// does not know.
int SetColors(const EncoderSettings& settings, AVCodecContext* context);

}  // namespace codec
