#include "codec/decoder/fresh_start.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace codec {
namespace {

constexpr std::array<AVCodecID, 5> kFreshAtEachKey = {
    AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MPEG4,
    AV_CODEC_ID_VP8,        AV_CODEC_ID_VP9,
};

// How NAL units are typed: the unit's type is (first byte >> shift) & mask.
struct NalCodec {
  AVCodecID codec;
  int shift;
  int mask;
  int lastPictureType;  // types up to this one carry a picture's slices
  int firstIdrType;
  int lastIdrType;
  int lengthSizeAt;  // where the configuration record says how long a unit's length is
};
constexpr std::array<NalCodec, 2> kNalCodecs = {{
    {AV_CODEC_ID_H264, 0, 0x1f, 5, 5, 5, 4},
    {AV_CODEC_ID_HEVC, 1, 0x3f, 31, 19, 20, 21},
}};

// Bytes of the length before each unit; 0 where start codes part them.
size_t LengthSize(const AVCodecParameters& stream, const NalCodec& codec) {
  if (stream.extradata_size <= codec.lengthSizeAt) return 0;
  const uint8_t* const data = stream.extradata;
  // Early writers of HEVC left the record's version at 0. A start code begins with 0, 0 and 1 or 0.
  const bool isRecord =
      data[0] == 1 || (codec.codec == AV_CODEC_ID_HEVC && (data[1] != 0 || data[2] > 1));
  return isRecord ? (data[codec.lengthSizeAt] & 3U) + 1 : 0;
}

// The offset of the unit behind this one's header, or `size`.
size_t NextStartCode(const uint8_t* data, size_t size, size_t from) {
  for (size_t i = from; i + 3 < size; ++i) {
    if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) return i + 3;
  }
  return size;
}

// Whether the first unit with a picture in it is of a kind that ends all references.
bool BeginsWithIdr(const AVPacket& packet, const NalCodec& codec, size_t lengthSize) {
  const uint8_t* const data = packet.data;
  const auto size = static_cast<size_t>(std::max(packet.size, 0));
  size_t at = lengthSize == 0 ? NextStartCode(data, size, 0) : lengthSize;
  while (at < size) {
    const int type = (data[at] >> codec.shift) & codec.mask;
    // No picture has type 0 in H.264; in HEVC it is one that refers to others.
    if (type <= codec.lastPictureType) {
      return codec.firstIdrType <= type && type <= codec.lastIdrType;
    }
    if (lengthSize == 0) {
      at = NextStartCode(data, size, at);
      continue;
    }
    size_t length = 0;
    for (size_t i = at - lengthSize; i < at; ++i) length = length << 8 | data[i];
    if (length >= size - at) break;
    at += length + lengthSize;
  }
  return false;
}

}  // namespace

bool StartsAfresh(const AVCodecParameters& stream, const AVPacket& packet) {
  if (packet.data == nullptr || (packet.flags & AV_PKT_FLAG_KEY) == 0) return false;
  for (const NalCodec& codec : kNalCodecs) {
    if (codec.codec != stream.codec_id) continue;
    return BeginsWithIdr(packet, codec, LengthSize(stream, codec));
  }
  const AVCodecDescriptor* const descriptor = avcodec_descriptor_get(stream.codec_id);
  if (descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0) return true;
  return std::find(kFreshAtEachKey.begin(), kFreshAtEachKey.end(), stream.codec_id) !=
         kFreshAtEachKey.end();
}

}  // namespace codec
