// SPDX-License-Identifier: MIT
// Reverses the samples of one audio frame.
#pragma once

#include <cstdint>

namespace codec {

// Reverses the samples of one frame in place. `size` is in bytes, `sampleFormat` FFmpeg's number: 0
// to 4 are interleaved (all channels of an instant move together), 5 to 9 planar (plane c begins at
// c x samples). The frame is not changed if the format is another one, or the channel count is
// below 1.
void ReverseAudioSamples(uint8_t* data, uint32_t size, int32_t channels, int32_t sampleFormat);

}  // namespace codec
