// SPDX-License-Identifier: MIT
// Which of FFmpeg's decoders a stream gets.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Whether the pictures' transparency is a second stream inside the packets, which FFmpeg's own
// decoder of the codec leaves out: VP8 and VP9, if the container says so.
bool HasSecondPicture(const AVStream* stream);

// The usual decoder of the stream. If the second picture is wanted, a decoder that gives both, if
// FFmpeg has one. Null if FFmpeg has no decoder.
const AVCodec* ChooseDecoder(const AVStream* stream, bool wantsSecondPicture);

// The format of the pictures that this decoder gives. Before the first picture a decoder may name
// another format.
AVPixelFormat FormatWithSecondPicture(const AVCodecContext* context);

}  // namespace codec
