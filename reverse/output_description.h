// SPDX-License-Identifier: MIT
// Describes the output of a reversal to the media writer.
#pragma once

#include <cstdint>
#include <string>

#include "codec/decoder/media_info.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/format/media_format.h"

namespace codec {

// FFmpeg's names of the encoders of the pictures and of the sound.
constexpr char kVideoEncoder[] = "libx264";
constexpr char kAudioEncoder[] = "aac";

// What encoders are asked for unless the user says otherwise: these two, for this file.
EncoderSettings UsualEncoders(const std::string& outputPath);

// Video bit rate in bit/s by picture size and frame rate.
int32_t VideoBitRate(int64_t pixels, float frameRate);

// Fills `format` with the description of an H.264 and AAC file at `outputPath` from the input that
// `info` describes. `hasAudio` tells whether the output carries sound. 0, or -1 after an error line
// if the input has no video or a value that cannot be encoded.
int DescribeOutput(const MediaInfo& info, bool hasAudio, const std::string& outputPath,
                   MediaFormat& format);

}  // namespace codec
