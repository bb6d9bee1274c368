// SPDX-License-Identifier: MIT
#include "codec/encoder/exact_sound.h"

#include <array>

#include "codec/encoder/container.h"

namespace codec {
namespace {

struct Row {
  int bits;  // of the widest samples that it holds
  const char* encoder;
};

// Big-endian names are those of the same codec in other containers.
constexpr std::array<Row, 8> kRows = {{{16, "pcm_s16le"},
                                       {16, "pcm_s16be"},
                                       {24, "pcm_s24le"},
                                       {24, "pcm_s24be"},
                                       {32, "pcm_f32le"},
                                       {32, "pcm_f32be"},
                                       {32, "alac"},
                                       {32, "flac"}}};

}  // namespace

std::string ExactSoundEncoder(const std::string& path, int bits) {
  for (const Row& row : kRows) {
    if (row.bits < bits || CodecNotTaken(path.c_str(), row.encoder) != nullptr) continue;
    // Transport streams and WebM write what they do not know without a word.
    if (!RefusesCodec(path.c_str(), row.encoder)) return row.encoder;
  }
  return "";
}

}  // namespace codec
