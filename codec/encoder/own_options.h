// SPDX-License-Identifier: MIT
// The options of an encoder that is driven as itself, not as an H.264 encoder.
#pragma once

#include <string>

#include "codec/encoder/encoder_options.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// What the settings ask of the video encoder, by FFmpeg's names: those of "video-opt:" first, then
// quality, preset, profile and level, and what an encoder needs to give good pictures if no quality
// is asked for. `depth` is that of the encoded pictures, in bits.
EncoderOptions OwnVideoOptions(const EncoderSettings& settings, const AVCodec* encoder, int depth);
// The same of the sound.
EncoderOptions OwnAudioOptions(const EncoderSettings& settings, const AVCodec* encoder);

// Sets all options on a context that is not open. Empty, or a sentence on the first option that the
// encoder does not know, or whose value it does not take.
std::string SetOwnOptions(AVCodecContext* context, const EncoderOptions& options);

// Whether the encoder itself, not FFmpeg in general, knows an option of this name.
bool HasOwnOption(const AVCodec* encoder, const char* name);

}  // namespace codec
