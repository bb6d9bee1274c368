// SPDX-License-Identifier: MIT
// Opening the sound that players play beside the pictures.
#pragma once

#include <memory>
#include <string>

#include "codec/decoder/audio_converter.h"
#include "codec/decoder/input_file.h"
#include "codec/decoder/stream_decoder.h"

namespace codec {

// Sound that comes before the chosen one but cannot be decoded. Blank if there is none.
struct PassedOverSound {
  // FFmpeg's number of a stream of sound if there is such a stream, but none that can be decoded;
  // otherwise -1. Nobody knows whether the stream has packets.
  int lost = -1;
  std::string why = {};  // for a person, as a sentence without a stop
};

// Opens the first sound, in the order of SoundByChoice, that FFmpeg can decode and the converter
// can convert. Null if there is none.
std::unique_ptr<StreamDecoder> OpenChosenSound(const InputFile& input, int video,
                                               AudioConverter* converter, PassedOverSound* passed);

}  // namespace codec
