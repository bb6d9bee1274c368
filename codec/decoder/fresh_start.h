// Tells key packets that decoding can begin at from those that end all references, too.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Whether pictures shown from this key packet on look the same, be they decoded from here or from
// further back: no later one refers to an earlier one. Pictures shown before the packet's own may.
// False where this is not certain: in H.264 and HEVC a key packet need not end the references.
bool StartsAfresh(const AVCodecParameters& stream, const AVPacket& packet);

}  // namespace codec
