// Tells at which packets of a video stream decoding can begin.
#pragma once

#include "codec/ffmpeg/owned.h"

namespace codec {

// An index may be wrong or may be missing, and a demuxer without one lands anywhere. So the
// packet's own bytes decide where there is a parser for them; the demuxer's flag only where there
// is none. From any other packet many decoders make pictures up, out of references that they never
// had.
class KeyPackets {
 public:
  // The stream outlives this object.
  explicit KeyPackets(const AVStream* stream);

  // Takes packets in any order. A true answer is only as good as the packet's headers.
  bool IsKey(const AVPacket* packet);

 private:
  AVCodecID mCodec;
  // Both null where there is no parser, or no memory for one.
  ffmpeg::UniqueParser mParser;
  ffmpeg::UniqueCodecContext mContext;
};

}  // namespace codec
