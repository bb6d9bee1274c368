// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_packets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "codec/decoder/input_file.h"
#include "codec/decoder/packet_clock.h"
#include "tests/support/clips.h"
#include "tests/support/edit_lists.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::CustomClip;

constexpr int64_t kAll = std::numeric_limits<int64_t>::max() / 2;

// Uncompressed pictures of 3 MB each, with a tick for each.
std::string LargePictures() {
  return CustomClip("packets_large.avi",
                    {"-f", "lavfi", "-i", "testsrc2=rate=25:size=1920x1080", "-frames:v", "40",
                     "-c:v", "rawvideo", "-pix_fmt", "yuv420p"});
}

void Open(const std::string& path, PicturePackets* packets) {
  InputFile file;
  ASSERT_EQ(file.Open(path), 0);
  ASSERT_EQ(packets->Open(path, file.GiveAway(), nullptr), 0);
}

// The stamps of all pieces, newest first, and the bytes of the largest piece.
std::vector<int64_t> ReadAll(PicturePackets* packets, int64_t* mostBytes) {
  std::vector<int64_t> stamps;
  for (PicturePackets::Piece piece = packets->ReadBack(); !piece.empty();
       piece = packets->ReadBack()) {
    int64_t bytes = 0;
    for (; !piece.empty(); piece.pop_back()) {
      bytes += piece.back()->size;
      stamps.push_back(StampOf(piece.back().get()));
    }
    *mostBytes = std::max(*mostBytes, bytes);
  }
  return stamps;
}

std::vector<int64_t> DownFrom(int64_t to, int64_t from) {
  std::vector<int64_t> all;
  for (int64_t i = to - 1; i >= from; --i) all.push_back(i);
  return all;
}

TEST(PicturePackets, ComeInPiecesThatMeet) {
  PicturePackets packets;
  Open(LargePictures(), &packets);
  packets.SetRange(0, kAll);
  int64_t most = 0;
  EXPECT_EQ(ReadAll(&packets, &most), DownFrom(40, 0));
  EXPECT_GT(most, int64_t{3} << 20);
  EXPECT_LE(most, PicturePackets::kMostBytes);
  EXPECT_FALSE(packets.IsTorn());
}

TEST(PicturePackets, KeepToTheRange) {
  PicturePackets packets;
  Open(LargePictures(), &packets);
  int64_t most = 0;
  packets.SetRange(7, 31);
  EXPECT_EQ(ReadAll(&packets, &most), DownFrom(31, 7));
  packets.SetRange(39, 40);
  EXPECT_EQ(ReadAll(&packets, &most), DownFrom(40, 39));
  packets.SetRange(40, kAll);
  EXPECT_TRUE(ReadAll(&packets, &most).empty());
}

TEST(PicturePackets, TellWhatLiesOutsideOfTheRange) {
  PicturePackets packets;
  Open(LargePictures(), &packets);
  int64_t most = 0;
  packets.SetRange(0, kAll);
  ReadAll(&packets, &most);
  EXPECT_FALSE(packets.PassedPicture());
  EXPECT_FALSE(packets.SawLaterPicture());
  packets.SetRange(7, 7);
  EXPECT_TRUE(ReadAll(&packets, &most).empty());
  EXPECT_TRUE(packets.SawLaterPicture());
  packets.SetRange(40, kAll);
  EXPECT_TRUE(ReadAll(&packets, &most).empty());
  EXPECT_TRUE(packets.PassedPicture());
  EXPECT_FALSE(packets.SawLaterPicture());
}

TEST(PicturePackets, FindTheFirstThatLeansOnAnother) {
  PicturePackets packets;
  Open(Clip(ClipKind::kH264Short), &packets);
  packets.SetRange(0, kAll);
  const ffmpeg::UniquePacket found = packets.FindDependent();
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(StampOf(found.get()), 512);  // a 25th of a second
  packets.SetRange(0, 512);
  EXPECT_EQ(packets.FindDependent(), nullptr);

  PicturePackets raw;
  Open(LargePictures(), &raw);
  raw.SetRange(0, kAll);
  EXPECT_EQ(raw.FindDependent(), nullptr);
}

// A player shows no picture of such a file, and no landing finds the first one.
TEST(PicturePackets, OfAnEditListThatShowsNoneAreNone) {
  const std::string path =
      CustomClip("packets_unshown.mov",
                 {"-f", "lavfi", "-i", "testsrc2=rate=25", "-frames:v", "2", "-c:v", "mjpeg"});
  PicturePackets packets;
  Open(test_support::WithEdits(path, "packets_unshown.mov", {{0.04, 30}}), &packets);
  packets.SetRange(0, kAll);
  EXPECT_EQ(packets.Sample(), nullptr);
  EXPECT_TRUE(packets.ReadBack().empty());
}

// What they meet is the stream as it is read forward.
TEST(PicturePackets, OfFilesWithoutAnIndexAreComplete) {
  const std::string path =
      CustomClip("packets.ts", {"-f", "lavfi", "-i", "testsrc2=rate=25:size=320x240", "-t", "5",
                                "-c:v", "libx264", "-preset", "ultrafast", "-g", "1"});
  PicturePackets packets;
  Open(path, &packets);
  packets.SetRange(std::numeric_limits<int64_t>::min() / 2, kAll);
  int64_t most = 0;
  const std::vector<int64_t> stamps = ReadAll(&packets, &most);
  ASSERT_EQ(stamps.size(), 125U);
  for (size_t i = 1; i < stamps.size(); ++i) EXPECT_EQ(stamps[i - 1] - stamps[i], 3600);
  EXPECT_FALSE(packets.IsTorn());
}

}  // namespace
}  // namespace codec
