// SPDX-License-Identifier: MIT
// Undoes the rounding of the stamps of sound.
#pragma once

#include <vector>

#include "reverse/sound_timeline.h"

namespace codec {

// Matroska and FLV round stamps to a millisecond, so a block may seem to begin up to half a
// millisecond early or late. Blocks that follow each other within this error are put end to end.
// The first stamp gives their place if it may be exact, which the first stamp of a file mostly is;
// otherwise the mean of their stamps, which is far nearer to the truth than any single one.
// Blocks with exact stamps do not move, nor do blocks at a hole or an overlap. `blocks` in the
// order of the stream; `rate` in samples a second.
void UndoRounding(std::vector<SampleBlock>* blocks, int rate);

}  // namespace codec
