// SPDX-License-Identifier: MIT
// Opening the sound that players play beside the pictures.
#pragma once

#include <memory>

#include "codec/decoder/audio_converter.h"
#include "codec/decoder/input_file.h"
#include "codec/decoder/passed_over_sound.h"
#include "codec/decoder/stream_decoder.h"

namespace codec {

// Opens the first sound, in the order of SoundByChoice, that FFmpeg can decode and the converter
// can convert. Null if there is none.
std::unique_ptr<StreamDecoder> OpenChosenSound(const InputFile& input, int video,
                                               AudioConverter* converter, PassedOverSound* passed);

}  // namespace codec
