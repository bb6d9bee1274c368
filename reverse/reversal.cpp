#include "reverse/reversal.h"

namespace codec {

std::unique_ptr<FramePlacement> Reversal::Place(MediaWriter* writer, ReverseRange* range) {
  return std::make_unique<PlainPlacement>(writer, *range);
}

}  // namespace codec
