// Tells at which packets of a video stream decoding can begin.
#pragma once

#include <memory>

#include "codec/ffmpeg/owned.h"

namespace codec {

// An index may be wrong or may be missing, and a demuxer without one lands anywhere. So the
// packet's own bytes decide where there is a parser for them; the demuxer's flag only where there
// is none. From any other packet many decoders make pictures up, out of references that they never
// had.
class KeyPackets {
 public:
  // Null where there is no memory. The stream outlives the object.
  static std::unique_ptr<KeyPackets> Make(const AVStream* stream);

  // Takes packets in any order. A true answer is only as good as the packet's headers.
  bool IsKey(const AVPacket* packet);

 private:
  explicit KeyPackets(AVCodecID codec) : mCodec(codec), mParser(av_parser_init(codec)) {}

  const AVCodecID mCodec;
  // Both null where there is no parser.
  ffmpeg::UniqueParser mParser;
  ffmpeg::UniqueCodecContext mContext;
};

}  // namespace codec
