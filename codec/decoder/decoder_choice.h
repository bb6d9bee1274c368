// SPDX-License-Identifier: MIT
// Which of FFmpeg's decoders a stream gets.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Whether the pictures' transparency is a second stream inside the packets, which FFmpeg's own
// decoder of the codec leaves out: VP8 and VP9, where the container says so.
bool HasSecondPicture(const AVStream* stream);

// The usual decoder of the stream, or, if it is wanted and there is one, that which gives the
// second picture too. Null where there is none.
const AVCodec* ChooseDecoder(const AVStream* stream, bool wantsSecondPicture);

// The format of the pictures that this decoder will give, where it tells another one before it has
// decoded the first.
AVPixelFormat FormatWithSecondPicture(const AVCodecContext* context);

}  // namespace codec
