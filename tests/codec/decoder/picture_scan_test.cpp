// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_scan.h"

#include <gtest/gtest.h>

#include "codec/ffmpeg/owned.h"
#include "tests/codec/decoder/scanned_packets.h"

namespace codec {
namespace {

TEST(PictureScan, CountsThePicturesOfTheRangeWhereverTheyStand) {
  const ffmpeg::UniqueInput file(avformat_alloc_context());
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  for (int i = 0; i < 2; ++i) {
    avformat_new_stream(file.get(), nullptr)->time_base = {1, 1000};
  }
  constexpr int64_t kNone = AV_NOPTS_VALUE;
  ScannedPackets source({{1, 0, 0},
                         {0, 1000, 1000},
                         {0, 5000, 5000},
                         {0, 1500, 1500},
                         {1, 1600, 1600},
                         {0, kNone, 1700},
                         {0, kNone, kNone},
                         {0, 999, 1800},
                         {0, 2000, 1900}});
  PictureScan scan(1, 2);
  scan.Run(file->streams[0], &source, packet.get());
  EXPECT_EQ(scan.Pictures(), 3);
}

TEST(PictureScan, CountsThePicturesBeforeAPosition) {
  const ffmpeg::UniqueInput file(avformat_alloc_context());
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  for (int i = 0; i < 2; ++i) {
    avformat_new_stream(file.get(), nullptr)->time_base = {1, 1000};
  }
  ScannedPackets source({{0, 0, 0, 0, true, 100},
                         {1, 0, 0, 0, true, 900},
                         {0, 40, 40, 0, true, 200, kHidden},
                         {0, 80, 80, 0, true, -1},
                         {0, 120, 120, 0, true, 300},
                         {0, 160, 160, 0, true, 150}});
  PictureScan scan(0, 1);
  scan.EndBefore(300);
  scan.Run(file->streams[0], &source, packet.get());
  EXPECT_EQ(scan.Pictures(), 2) << "the first and the one whose place is unknown";
}

}  // namespace
}  // namespace codec
