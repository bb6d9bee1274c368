// SPDX-License-Identifier: MIT
#include "reverse/reversal.h"

#include "codec/writer/media_writer_factory.h"
#include "reverse/reverse_loop.h"

namespace codec {

DecoderAdditions Reversal::Additions() const {
  DecoderAdditions additions;
  additions.restarts = Restarts::kRefused;
  return additions;
}

MediaWriter* Reversal::MakeWriter(MediaFormat& format) const { return MakeMediaWriter(format); }

std::unique_ptr<BackwardWalk> Reversal::MakeWalk(FFmpegDecoder* decoder, MediaWriter* writer,
                                                 const ReverseRange& range) {
  ReverseRange walked = range;
  std::unique_ptr<FramePlacement> placement = Place(writer, &walked);
  return std::make_unique<ReverseLoop>(decoder, std::move(placement), walked);
}

std::unique_ptr<FramePlacement> Reversal::Place(MediaWriter* writer, ReverseRange* range) {
  return std::make_unique<PlainPlacement>(writer, *range);
}

}  // namespace codec
