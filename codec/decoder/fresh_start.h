// SPDX-License-Identifier: MIT
// Says whether a key packet leans on nothing before it.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Decoding can begin at any key packet. But the pictures shown after it may then differ from those
// of a decoder that began further back, because some refer to earlier pictures. True if all
// pictures shown from this packet on are the same in both cases. Pictures shown before the packet's
// own picture do not count. False if this is not certain: in H.264 a key packet need not end the
// references, unless it is marked as an exact point of recovery.
bool StartsAfresh(const AVCodecParameters& stream, const AVPacket& packet);

// Whether pictures that are coded after this key packet but shown before it are lost if decoding
// begins at it: an open group, whose first pictures refer to the group before. False where this is
// not certain.
bool LosesLeading(AVCodecID codec, const AVPacket& packet);

// Whether the packet's picture can be decoded without any other, and still can if the pictures of
// the stream stand in another order. H.264 and HEVC count their pictures from one IDR picture to
// the next, so that other key pictures cannot be moved.
bool StandsAlone(const AVCodecParameters& stream, const AVPacket& packet);

// Whether every picture of the codec stands alone.
bool IsIntraOnly(AVCodecID codec);

}  // namespace codec
