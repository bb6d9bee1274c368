// Tells key packets that decoding can begin at from those that lean on nothing before.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Whether the pictures shown from this key packet on are the same, be they decoded from here or
// from further back: none of them refers to an earlier picture. Pictures shown before the packet's
// own may. False where this is not certain: in H.264 a key packet need not end the references,
// unless it is marked as an exact point of recovery.
bool StartsAfresh(const AVCodecParameters& stream, const AVPacket& packet);

}  // namespace codec
