// SPDX-License-Identifier: MIT
#include "codec/decoder/key_packets.h"

#include <utility>

#include "codec/ffmpeg/compat_decoding.h"

namespace codec {

std::unique_ptr<KeyPackets> KeyPackets::Make(const AVStream* stream) {
  std::unique_ptr<KeyPackets> keys(new KeyPackets(stream->codecpar->codec_id));
  if (keys->mParser == nullptr) return keys;
  keys->mParser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  // Parsers write into their context, so it cannot be the decoder's own.
  keys->mContext = ffmpeg::NewDecoder(stream, nullptr);
  return keys->mContext == nullptr ? nullptr : std::move(keys);
}

bool KeyPackets::IsKey(const AVPacket* packet) {
  const bool flagged = (packet->flags & AV_PKT_FLAG_KEY) != 0;
  if (mParser == nullptr) return flagged;
  mParser->key_frame = -1;
  mParser->pict_type = AV_PICTURE_TYPE_NONE;
  uint8_t* data = nullptr;
  int size = 0;
  av_parser_parse2(mParser.get(), mContext.get(), &data, &size, packet->data, packet->size,
                   packet->pts, packet->dts, packet->pos);
  if (mParser->key_frame == 1) return true;
  if (mParser->pict_type == AV_PICTURE_TYPE_NONE) return flagged;
  // Some parsers do not distinguish key pictures from other pictures that are coded alone. Then all
  // of them count. H.264 streams often have no other mark, and the H.264 decoder holds back by
  // itself the pictures that are not to be trusted.
  return mParser->pict_type == AV_PICTURE_TYPE_I &&
         (mParser->key_frame < 0 || mCodec == AV_CODEC_ID_H264);
}

}  // namespace codec
