// SPDX-License-Identifier: MIT
#include "reverse/reversal.h"

namespace codec {

DecoderAdditions Reversal::Additions() const {
  DecoderAdditions additions;
  additions.restarts = Restarts::kRefused;
  return additions;
}

std::unique_ptr<FramePlacement> Reversal::Place(MediaWriter* writer, ReverseRange* range) {
  return std::make_unique<PlainPlacement>(writer, *range);
}

}  // namespace codec
