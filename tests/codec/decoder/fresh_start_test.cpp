// SPDX-License-Identifier: MIT
#include "codec/decoder/fresh_start.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace codec {
namespace {

struct Case {
  const char* name;
  AVCodecID codec;
  std::vector<uint8_t> extradata;
  std::vector<uint8_t> packet;
  bool fresh;
};

// Configuration records of which only the version and the size of lengths count.
std::vector<uint8_t> Record(size_t size, size_t lengthAt, uint8_t lengthSizeLessOne) {
  std::vector<uint8_t> record(size);
  record[0] = 1;
  record[lengthAt] = static_cast<uint8_t>(0xfc | lengthSizeLessOne);
  return record;
}

// A unit of so many bytes behind a length of four.
std::vector<uint8_t> OfLength(size_t length, uint8_t header) {
  std::vector<uint8_t> unit(4 + length, 1);
  unit[0] = unit[1] = 0;
  unit[2] = static_cast<uint8_t>(length >> 8);
  unit[3] = static_cast<uint8_t>(length & 0xff);
  unit[4] = header;
  return unit;
}

// The packet has these bytes, and does not own them.
AVPacket PacketOf(std::vector<uint8_t>* bytes, int flags) {
  AVPacket packet{};
  packet.data = bytes->data();
  packet.size = static_cast<int>(bytes->size());
  packet.flags = flags;
  return packet;
}

bool Fresh(const Case& one, int flags) {
  std::vector<uint8_t> extradata = one.extradata;
  std::vector<uint8_t> bytes = one.packet;
  AVCodecParameters parameters{};
  parameters.codec_id = one.codec;
  parameters.extradata = extradata.data();
  parameters.extradata_size = static_cast<int>(extradata.size());
  return StartsAfresh(parameters, PacketOf(&bytes, flags));
}

TEST(FreshStart, IsSaidOnlyOfPacketsThatEndAllReferences) {
  const std::vector<uint8_t> avc = Record(7, 4, 3);
  const std::vector<uint8_t> hvc = Record(23, 21, 1);
  std::vector<uint8_t> old = Record(23, 21, 3);
  old[0] = 0;
  old[1] = 1;  // the profile
  const std::vector<Case> cases = {
      {"IDR", AV_CODEC_ID_H264, avc, {0, 0, 0, 2, 0x65, 9}, true},
      {"I", AV_CODEC_ID_H264, avc, {0, 0, 0, 2, 0x61, 9}, false},
      {"SEI, then IDR", AV_CODEC_ID_H264, avc, {0, 0, 0, 2, 6, 5, 0, 0, 0, 2, 0x65, 9}, true},
      {"SEI, then I", AV_CODEC_ID_H264, avc, {0, 0, 0, 2, 6, 5, 0, 0, 0, 2, 0x41, 5}, false},
      {"exact recovery point, then I",
       AV_CODEC_ID_H264,
       avc,
       {0, 0, 0, 4, 6, 6, 1, 0xc4, 0, 0, 0, 2, 0x41, 5},
       true},
      {"exact recovery point behind another message, after start codes",
       AV_CODEC_ID_H264,
       {},
       {0, 0, 1, 6, 5, 4, 0, 0, 3, 1, 9, 6, 1, 0xc4, 0x80, 0, 0, 1, 0x41, 5},
       true},
      {"recovery point that is not exact",
       AV_CODEC_ID_H264,
       avc,
       {0, 0, 0, 4, 6, 6, 1, 0x84, 0, 0, 0, 2, 0x41, 5},
       false},
      {"recovery after three pictures",
       AV_CODEC_ID_H264,
       avc,
       {0, 0, 0, 4, 6, 6, 1, 0x24, 0, 0, 0, 2, 0x41, 5},
       false},
      {"recovery point with a broken link",
       AV_CODEC_ID_H264,
       avc,
       {0, 0, 0, 4, 6, 6, 1, 0xe4, 0, 0, 0, 2, 0x41, 5},
       false},
      {"a message longer than its unit",
       AV_CODEC_ID_H264,
       avc,
       {0, 0, 0, 4, 6, 5, 9, 0xc4, 0, 0, 0, 2, 0x41, 5},
       false},
      {"a length behind the end", AV_CODEC_ID_H264, avc, {0, 0, 9, 2, 6, 5, 0, 0}, false},
      {"the longest length", AV_CODEC_ID_H264, avc, {0xff, 0xff, 0xff, 0xff, 6, 5}, false},
      {"nothing", AV_CODEC_ID_H264, avc, {0}, false},
      {"IDR behind a start code",
       AV_CODEC_ID_H264,
       {},
       {0, 0, 0, 1, 9, 0xf0, 0, 0, 1, 0x65, 9},
       true},
      {"I behind a start code", AV_CODEC_ID_H264, {}, {0, 0, 1, 9, 0xf0, 0, 0, 1, 0x41, 9}, false},
      {"no start code", AV_CODEC_ID_H264, {}, {0x65, 9, 9, 9}, false},
      {"HEVC IDR", AV_CODEC_ID_HEVC, hvc, {0, 2, 19 << 1, 1}, true},
      {"HEVC IDR without leading pictures", AV_CODEC_ID_HEVC, hvc, {0, 2, 20 << 1, 1}, true},
      {"HEVC CRA", AV_CODEC_ID_HEVC, hvc, {0, 2, 21 << 1, 1}, true},
      {"HEVC TRAIL", AV_CODEC_ID_HEVC, hvc, {0, 2, 1 << 1, 1}, false},
      {"HEVC parameters, then IDR",
       AV_CODEC_ID_HEVC,
       hvc,
       {0, 2, 32 << 1, 1, 0, 2, 19 << 1, 1},
       true},
      {"HEVC TRAIL behind a length like a start code", AV_CODEC_ID_HEVC, old,
       OfLength(256 + 0x26, 1 << 1), false},
      {"VP9", AV_CODEC_ID_VP9, {}, {1}, true},
      {"MJPEG", AV_CODEC_ID_MJPEG, {}, {1}, true},
      {"a codec that is not known for it", AV_CODEC_ID_SVQ3, {}, {1}, false},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(Fresh(one, AV_PKT_FLAG_KEY), one.fresh) << one.name;
    EXPECT_FALSE(Fresh(one, 0)) << one.name << ", not a key packet";
  }
}

bool Loses(AVCodecID codec, std::vector<uint8_t> bytes, int flags = AV_PKT_FLAG_KEY) {
  return LosesLeading(codec, PacketOf(&bytes, flags));
}

TEST(LeadingPictures, AreLostWhereTheGroupIsOpen) {
  const std::vector<uint8_t> open = {0, 0,    1, 0xb3, 1, 2, 0, 0, 1, 0xb8, 0, 8,
                                     0, 0x00, 0, 0,    1, 0, 0, 8, 0, 0,    0, 0};
  std::vector<uint8_t> closed = open;
  closed[13] = 0x40;
  EXPECT_TRUE(Loses(AV_CODEC_ID_MPEG2VIDEO, open));
  EXPECT_TRUE(Loses(AV_CODEC_ID_MPEG1VIDEO, open));
  EXPECT_FALSE(Loses(AV_CODEC_ID_MPEG2VIDEO, closed));
  EXPECT_FALSE(Loses(AV_CODEC_ID_MPEG2VIDEO, open, 0));
  EXPECT_FALSE(Loses(AV_CODEC_ID_H264, open));
  // Without the header of a group nothing says that it is closed.
  EXPECT_TRUE(Loses(AV_CODEC_ID_MPEG2VIDEO, {0, 0, 1, 0, 0, 8, 0, 0, 0, 0}));
}

TEST(LeadingPictures, AreLostAtTheOpenKeyPicturesOfHevc) {
  const auto unit = [](int type) {
    return std::vector<uint8_t>{0, 0, 1, 0x40, 1, 9, 0, 0, 1, static_cast<uint8_t>(type << 1),
                                1, 9};
  };
  EXPECT_TRUE(Loses(AV_CODEC_ID_HEVC, unit(21)));
  EXPECT_TRUE(Loses(AV_CODEC_ID_HEVC, unit(16)));
  EXPECT_FALSE(Loses(AV_CODEC_ID_HEVC, unit(19)));
  EXPECT_FALSE(Loses(AV_CODEC_ID_HEVC, unit(20)));
}

// Other key pictures count from the one before, and cannot be moved.
TEST(FreshStart, OnlyIdrPicturesStandAloneInH264AndHevc) {
  const std::vector<uint8_t> avc = Record(7, 4, 3);
  const std::vector<uint8_t> hvc = Record(23, 21, 3);
  const Case cases[] = {
      {"IDR", AV_CODEC_ID_H264, avc, OfLength(9, 0x65), true},
      {"I of another kind", AV_CODEC_ID_H264, avc, OfLength(9, 0x61), false},
      {"IDR_W_RADL", AV_CODEC_ID_HEVC, hvc, OfLength(9, 19 << 1), true},
      {"IDR_N_LP", AV_CODEC_ID_HEVC, hvc, OfLength(9, 20 << 1), true},
      {"CRA", AV_CODEC_ID_HEVC, hvc, OfLength(9, 21 << 1), false},
      {"trailing", AV_CODEC_ID_HEVC, hvc, OfLength(9, 0), false},
      {"key picture of FFV1", AV_CODEC_ID_FFV1, {}, {1}, true},
  };
  for (const Case& one : cases) {
    std::vector<uint8_t> extradata = one.extradata;
    std::vector<uint8_t> bytes = one.packet;
    AVCodecParameters parameters{};
    parameters.codec_id = one.codec;
    parameters.extradata = extradata.data();
    parameters.extradata_size = static_cast<int>(extradata.size());
    EXPECT_EQ(StandsAlone(parameters, PacketOf(&bytes, AV_PKT_FLAG_KEY)), one.fresh) << one.name;
    EXPECT_FALSE(StandsAlone(parameters, PacketOf(&bytes, 0))) << one.name;
  }
}

TEST(FreshStart, PicturesOfIntraCodecsStandAloneWithoutAFlag) {
  AVCodecParameters parameters{};
  parameters.codec_id = AV_CODEC_ID_PRORES;
  std::vector<uint8_t> bytes = {1};
  EXPECT_TRUE(StandsAlone(parameters, PacketOf(&bytes, 0)));
  EXPECT_TRUE(IsIntraOnly(AV_CODEC_ID_MJPEG));
  EXPECT_FALSE(IsIntraOnly(AV_CODEC_ID_H264));
}

}  // namespace
}  // namespace codec
