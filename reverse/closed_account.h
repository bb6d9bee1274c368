// SPDX-License-Identifier: MIT
// The account of a walk that is over.
#pragma once

#include "codec/writer/media_writer.h"
#include "reverse/account.h"
#include "reverse/backward_walk.h"
#include "reverse/reversal.h"

namespace codec {

// What the walk over [start, end), in seconds, has met, held against what the writer has taken.
// Where pictures have the time of others, or times go back, the packets of the whole file are
// counted: there may be pictures that no seek has found. An input that was cut off counts if no
// picture was met after the range. Sound that is left out as a whole counts as lost. The writer has
// been stopped.
JobAccount ClosedAccount(const BackwardWalk& walk, double start, double end, MediaWriter* writer,
                         const Reversal& reversal);

}  // namespace codec
