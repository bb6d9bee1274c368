// SPDX-License-Identifier: MIT
// What the two kinds of encoder have in common when they are opened.
#pragma once

#include <string>

#include "codec/encoder/encoder_options.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/output_file.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// A context for this encoder that knows what its container demands; null when memory runs out.
ffmpeg::UniqueCodecContext NewEncoder(const AVCodec* codec, const OutputFile& file);

// Opens the context. 0, or a negative error, which the file keeps: AVERROR(ENOMEM), and
// AVERROR(EINVAL) for any refusal, because encoders use the numbers of missing files for theirs.
int OpenContext(AVCodecContext* context, const AVCodec* codec, OutputFile* file);

// Completes the default options for the stream and sets those that the encoder knows, on the
// context and on the encoder's own data. 0, or AVERROR(ENOMEM).
int ApplyOptionsTo(AVCodecContext* context, const EncoderSettings& settings,
                   const EncoderOptions& defaults, const std::string& codecName);

}  // namespace codec
