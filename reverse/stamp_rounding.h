// Undoes what containers do to the stamps of sound.
#pragma once

#include <vector>

#include "reverse/sound_timeline.h"

namespace codec {

// Matroska and FLV round stamps to a millisecond, so a block may seem to begin up to half a
// millisecond early or late. Blocks that follow each other within that are put end to end; the mean
// of their stamps says where, which is far nearer to the truth than any stamp alone. Blocks with
// exact stamps, and those on both sides of a hole or an overlap, stay where they are. In the order
// of the stream; `rate` in samples a second.
void UndoRounding(std::vector<SampleBlock>* blocks, int rate);

}  // namespace codec
