// SPDX-License-Identifier: MIT
// Into how many coded pictures a decoder splits a packet.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// At least 1. In VP9 a packet may hold pictures that are never shown, before one that is shown.
// Each of them goes to a decoder thread of its own.
int PartsOf(AVCodecID codec, const AVPacket& packet);

}  // namespace codec
