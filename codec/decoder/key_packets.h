// SPDX-License-Identifier: MIT
// Tells at which packets of a video stream decoding can begin.
#pragma once

#include <memory>

#include "codec/ffmpeg/owned.h"

namespace codec {

// An index may be wrong or missing, and a demuxer without an index lands anywhere. So the packet's
// own bytes decide, if there is a parser for them, and otherwise the demuxer's flag. If decoding
// begins at another packet, many decoders make up the references that they never had.
class KeyPackets {
 public:
  // Null if there is no memory. The stream outlives the object.
  static std::unique_ptr<KeyPackets> Make(const AVStream* stream);

  // Takes packets in any order. A true answer is only as good as the packet's headers.
  bool IsKey(const AVPacket* packet);

 private:
  explicit KeyPackets(AVCodecID codec) : mCodec(codec), mParser(av_parser_init(codec)) {}

  const AVCodecID mCodec;
  // Both null if there is no parser.
  ffmpeg::UniqueParser mParser;
  ffmpeg::UniqueCodecContext mContext;
};

}  // namespace codec
