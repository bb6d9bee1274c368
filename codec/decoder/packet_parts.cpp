// SPDX-License-Identifier: MIT
#include "codec/decoder/packet_parts.h"

namespace codec {

// Such a packet ends with an index of its pictures, which has the same byte at both ends.
int PartsOf(AVCodecID codec, const AVPacket& packet) {
  if (codec != AV_CODEC_ID_VP9 || packet.size <= 0 || packet.data == nullptr) return 1;
  const uint8_t marker = packet.data[packet.size - 1];
  if ((marker & 0xe0U) != 0xc0U) return 1;
  const int pictures = 1 + static_cast<int>(marker & 7U);
  const int bytesEach = 1 + static_cast<int>((marker >> 3U) & 3U);
  const int indexBytes = 2 + pictures * bytesEach;
  const bool isWhole = packet.size >= indexBytes && packet.data[packet.size - indexBytes] == marker;
  return isWhole ? pictures : 1;
}

}  // namespace codec
