// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/owned.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/command.h"

namespace codec::ffmpeg {
namespace {

TEST(UniqueOutput, ClosesTheFileThatItWritesTo) {
  const std::string path = test_support::ScratchPath("owned.bin");
  {
    const UniqueOutput output(avformat_alloc_context());
    output->oformat = const_cast<AVOutputFormat*>(av_guess_format("mp4", nullptr, nullptr));
    ASSERT_GE(avio_open(&output->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
    avio_w8(output->pb, 'x');
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
  }
  EXPECT_EQ(std::filesystem::file_size(path), 1U);
}

TEST(UniqueOutput, MayHaveNoFileAndNoFormat) {
  EXPECT_NE(UniqueOutput(avformat_alloc_context()), nullptr);
  CloseOutput(nullptr);
}

TEST(PacketGuard, UnreferencesWhenTheScopeIsLeft) {
  const UniquePacket packet(av_packet_alloc());
  for (int pass = 0; pass < 2; ++pass) {
    const PacketGuard guard(packet.get());
    ASSERT_GE(av_new_packet(packet.get(), 16), 0);
    if (pass == 0) continue;
    EXPECT_NE(packet->data, nullptr);
  }
  EXPECT_EQ(packet->data, nullptr);
  EXPECT_EQ(packet->size, 0);
}

TEST(FrameGuard, UnreferencesWhenTheScopeIsLeft) {
  const UniqueFrame frame(av_frame_alloc());
  {
    const FrameGuard guard(frame.get());
    frame->width = frame->height = 16;
    frame->format = AV_PIX_FMT_YUV420P;
    ASSERT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    EXPECT_NE(frame->data[0], nullptr);
  }
  EXPECT_EQ(frame->data[0], nullptr);
}

}  // namespace
}  // namespace codec::ffmpeg
