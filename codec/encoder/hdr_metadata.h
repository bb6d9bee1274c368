// SPDX-License-Identifier: MIT
// Tells players how bright pictures of high dynamic range may be.
#pragma once

#include "codec/encoder/encoder_options.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Adds what the settings tell of it to the options of an encoder that writes it into its pictures.
void AddHdrOptions(const EncoderSettings& settings, const AVCodec* encoder,
                   EncoderOptions* options);

// Adds the same to a stream whose header is not written, for the container. 0, or AVERROR: a text
// that is none, or want of memory.
int AddHdrMetadata(const EncoderSettings& settings, AVStream* stream);

}  // namespace codec
