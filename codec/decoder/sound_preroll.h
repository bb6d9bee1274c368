// SPDX-License-Identifier: MIT
// How much sound a decoder must be fed before a place in the middle of a stream.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The frames of most sound codecs overlap or refer back. So the first frames after a jump differ
// from those of a decoder that came from the start of the file. A fresh decoder is fed the packets
// of the pre-roll first. What these packets give is dropped, packet by packet. From the target on
// the samples are those of the linear decode, or differ from them by less than -60 dBFS.
//
// The values were measured, with a margin. Codecs that are not in the table get the usual pre-roll.
// For a decoder that is flushed instead of opened anew, no pre-roll is enough.
class SoundPreroll {
 public:
  // By codec, profile and bit rate of the stream.
  explicit SoundPreroll(const AVCodecParameters& sound);

  // The first packet to feed is the last one that begins this long before the target, or earlier.
  double Seconds() const { return mSeconds; }
  // At least as many packets are fed before the target's own.
  int Packets() const { return mPackets; }
  // Whether a decoder may start at the target itself.
  bool IsNone() const { return mPackets == 0; }

  // An option of the decoder that must be set to 1, or two decodes of one packet never agree; null
  // for none. It must be set for all decoders whose results are compared, or joined.
  const char* DecoderOption() const { return mOption; }

 private:
  double mSeconds;
  int mPackets;
  const char* mOption;
};

}  // namespace codec
