// SPDX-License-Identifier: MIT
// The encoder that keeps sound as it is.
#pragma once

#include <string>

namespace codec {

// FFmpeg's name of an encoder that loses nothing of samples of this many bits, 32 for floats, and
// whose codec the container of `path` takes: PCM of that width, else ALAC or FLAC, which hold 24
// bits. Empty if the container takes none of them.
std::string ExactSoundEncoder(const std::string& path, int bits);

}  // namespace codec
