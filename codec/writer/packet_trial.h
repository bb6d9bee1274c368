// SPDX-License-Identifier: MIT
// Finds out whether a container can hold the packets of another.
#pragma once

#include "codec/ffmpeg/owned.h"
#include "codec/format/media_format.h"

namespace codec {

// Whether the output that `format` describes, with pictures from the stream `source`, can be
// written, and a picture comes out of it as it went in. Containers tell no sooner: some refuse a
// codec with their header, some write what nothing can read. So a file with one picture is made in
// memory. If the host gives no such file, the answer is yes.
//
// H.264 and HEVC may be put into another frame, since MP4 parts their units in another way than
// transport streams. `picture` may be null; it stays as it is.
bool GivesPicturesBack(const AVStream* source, const MediaFormat& format, const AVPacket* picture);

}  // namespace codec
