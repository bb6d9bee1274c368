// SPDX-License-Identifier: MIT
// Reads stretches of a clip's sound.
#pragma once

#include "codec/decoder/sound_stretch.h"
#include "codec/utils/sound_layout.h"

namespace codec {

// One thread at a time. The stretches may be asked for in any order.
class SoundReader {
 public:
  SoundReader() = default;
  virtual ~SoundReader() = default;
  SoundReader(const SoundReader&) = delete;
  SoundReader& operator=(const SoundReader&) = delete;

  // Fills `out` with every block that reaches into [from, to), in seconds, in the order of the
  // stream. Packets that cannot be decoded are told instead. 0, or -1, with the reason logged, when
  // the host fails.
  virtual int Read(double from, double to, SoundStretch* out) = 0;

  // Channels of all samples.
  virtual int Channels() const { return SoundLayout().channels; }
};

}  // namespace codec
