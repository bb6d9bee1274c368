// SPDX-License-Identifier: MIT
#include "codec/decoder/fresh_start.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

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
  // Types of pictures that decoding can begin at. Pictures shown later do not refer to earlier
  // ones.
  int firstStartType;
  int lastStartType;
  int lengthSizeAt;  // offset in the configuration record
  int messageType;   // of units with messages (recovery points); 0 for none
  // Types of pictures at which all counting begins anew.
  int firstAloneType;
  int lastAloneType;
};
constexpr std::array<NalCodec, 2> kNalCodecs = {{
    {AV_CODEC_ID_H264, 0, 0x1f, 5, 5, 5, 4, 6, 5, 5},
    {AV_CODEC_ID_HEVC, 1, 0x3f, 31, 16, 21, 21, 0, 19, 20},
}};

// The units of a packet, one after another.
class Units {
 public:
  // `lengthSize`: bytes of the length before each unit; 0 if start codes part the units.
  Units(const AVPacket& packet, size_t lengthSize)
      : mData(packet.data),
        mSize(static_cast<size_t>(std::max(packet.size, 0))),
        mLengthSize(lengthSize) {
    Begin(0);
  }

  bool HasMore() const { return mAt < mEnd; }
  const uint8_t* Data() const { return mData + mAt; }
  size_t Size() const { return mEnd - mAt; }
  void Next() { Begin(mEnd); }

 private:
  void Begin(size_t from) {
    mAt = mEnd = mSize;
    if (mLengthSize == 0) {
      mAt = NextStartCode(from);
      mEnd = std::max(mAt, StartCodeFrom(mAt));
      return;
    }
    if (mSize - from <= mLengthSize) return;
    size_t length = 0;
    for (size_t i = from; i < from + mLengthSize; ++i) length = length << 8 | mData[i];
    mAt = from + mLengthSize;
    // The last unit may be cut off. Its first byte tells its type.
    mEnd = mAt + std::min(length, mSize - mAt);
  }
  // The offset of the next start code, or the packet's size.
  size_t StartCodeFrom(size_t from) const {
    for (size_t i = from; i + 3 < mSize; ++i) {
      if (mData[i] == 0 && mData[i + 1] == 0 && mData[i + 2] == 1) return i;
    }
    return mSize;
  }
  size_t NextStartCode(size_t from) const { return std::min(StartCodeFrom(from) + 3, mSize); }

  const uint8_t* mData;
  size_t mSize;
  size_t mLengthSize;
  size_t mAt = 0;
  size_t mEnd = 0;
};

// The bytes that a unit stands for. A 3 was put in after two zeros, so that no bytes look like a
// start code.
std::vector<uint8_t> Unescaped(const uint8_t* data, size_t size) {
  std::vector<uint8_t> bytes;
  int zeros = 0;
  for (size_t i = 0; i < size; ++i) {
    if (zeros >= 2 && data[i] == 3) {
      zeros = 0;
      continue;
    }
    zeros = data[i] == 0 ? zeros + 1 : 0;
    bytes.push_back(data[i]);
  }
  return bytes;
}

// Whether a unit of messages says that a decoder which begins here shows the very same pictures
// from here on: a recovery point after no pictures, exact, and without a broken link.
bool HasExactRecoveryPoint(const uint8_t* data, size_t size) {
  constexpr size_t kRecoveryPoint = 6;
  const std::vector<uint8_t> bytes = Unescaped(data, size);
  size_t at = 1;
  const auto number = [&] {
    size_t value = 0;
    while (at < bytes.size() && bytes[at] == 0xff) value += bytes[at++];
    return at < bytes.size() ? value + bytes[at++] : value;
  };
  while (at + 2 < bytes.size()) {
    const size_t type = number();
    const size_t length = number();
    if (length > bytes.size() - at) return false;
    // The count of pictures is a single 1 if it is 0; the next bits are "exact" and "broken".
    if (type == kRecoveryPoint) return length > 0 && bytes[at] >> 5U == 6;
    at += length;
  }
  return false;
}

// Bytes of the length before each unit; 0 if start codes part the units.
size_t LengthSize(const AVCodecParameters& stream, const NalCodec& codec) {
  if (stream.extradata_size <= codec.lengthSizeAt) return 0;
  const uint8_t* const data = stream.extradata;
  // Early writers of HEVC left the record's version at 0. A start code begins with 0, 0 and 1 or 0.
  const bool isRecord =
      data[0] == 1 || (codec.codec == AV_CODEC_ID_HEVC && (data[1] != 0 || data[2] > 1));
  return isRecord ? (data[codec.lengthSizeAt] & 3U) + 1 : 0;
}

// Whether the first picture is one that decoding can begin at.
bool BeginsAfresh(const AVPacket& packet, const NalCodec& codec, size_t lengthSize) {
  bool recovers = false;
  for (Units units(packet, lengthSize); units.HasMore(); units.Next()) {
    const int type = (units.Data()[0] >> codec.shift) & codec.mask;
    // No picture has type 0 in H.264; in HEVC it is one that refers to others.
    if (type <= codec.lastPictureType) {
      return recovers || (codec.firstStartType <= type && type <= codec.lastStartType);
    }
    if (type == codec.messageType && codec.messageType != 0) {
      recovers = recovers || HasExactRecoveryPoint(units.Data(), units.Size());
    }
  }
  return false;
}

// Whether the first picture is one at which all counting begins anew.
bool CountsAnew(const AVPacket& packet, const NalCodec& codec, size_t lengthSize) {
  for (Units units(packet, lengthSize); units.HasMore(); units.Next()) {
    const int type = (units.Data()[0] >> codec.shift) & codec.mask;
    // As above: HEVC has pictures of type 0, H.264 has none.
    if (type > codec.lastPictureType) continue;
    return codec.firstAloneType <= type && type <= codec.lastAloneType;
  }
  return false;
}

// Whether MPEG-1 or MPEG-2 says before its first picture that the group is closed.
bool IsClosedGroup(const AVPacket& packet) {
  constexpr int kGroup = 0xb8;
  constexpr int kPicture = 0;
  constexpr size_t kFlags = 4;  // the byte whose seventh bit tells
  constexpr unsigned kClosed = 0x40;
  for (Units units(packet, 0); units.HasMore(); units.Next()) {
    const int code = units.Data()[0];
    if (code == kPicture) return false;
    if (code == kGroup) return units.Size() > kFlags && (units.Data()[kFlags] & kClosed) != 0;
  }
  return false;
}

// Whether the first picture is HEVC's key picture of an open group, or one after a break.
bool IsOpenHevc(const AVPacket& packet) {
  constexpr NalCodec kHevc = kNalCodecs[1];
  constexpr int kFirstBroken = 16;
  constexpr int kLastBroken = 18;
  constexpr int kOpen = 21;
  for (Units units(packet, 0); units.HasMore(); units.Next()) {
    const int type = (units.Data()[0] >> kHevc.shift) & kHevc.mask;
    if (type > kHevc.lastPictureType) continue;
    return type == kOpen || (kFirstBroken <= type && type <= kLastBroken);
  }
  return false;
}

}  // namespace

bool IsIntraOnly(AVCodecID codec) {
  const AVCodecDescriptor* const descriptor = avcodec_descriptor_get(codec);
  return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
}

bool LosesLeading(AVCodecID codec, const AVPacket& packet) {
  if (packet.data == nullptr || (packet.flags & AV_PKT_FLAG_KEY) == 0) return false;
  if (codec == AV_CODEC_ID_HEVC) return IsOpenHevc(packet);
  const bool isMpeg = codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO;
  return isMpeg && !IsClosedGroup(packet);
}

bool StartsAfresh(const AVCodecParameters& stream, const AVPacket& packet) {
  if (packet.data == nullptr || (packet.flags & AV_PKT_FLAG_KEY) == 0) return false;
  for (const NalCodec& codec : kNalCodecs) {
    if (codec.codec != stream.codec_id) continue;
    return BeginsAfresh(packet, codec, LengthSize(stream, codec));
  }
  if (IsIntraOnly(stream.codec_id)) return true;
  return std::find(kFreshAtEachKey.begin(), kFreshAtEachKey.end(), stream.codec_id) !=
         kFreshAtEachKey.end();
}

bool StandsAlone(const AVCodecParameters& stream, const AVPacket& packet) {
  if (IsIntraOnly(stream.codec_id)) return true;
  if (packet.data == nullptr || (packet.flags & AV_PKT_FLAG_KEY) == 0) return false;
  for (const NalCodec& codec : kNalCodecs) {
    if (codec.codec != stream.codec_id) continue;
    return CountsAnew(packet, codec, LengthSize(stream, codec));
  }
  return true;
}

}  // namespace codec
