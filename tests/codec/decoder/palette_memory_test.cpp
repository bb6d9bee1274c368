// SPDX-License-Identifier: MIT
#include "codec/decoder/palette_memory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

constexpr size_t kBytes = AVPALETTE_SIZE;

// The first byte of the palette that a packet has after it was shown; -1 if it has none. A palette
// below 0 is none.
int Shown(PaletteMemory* memory, int palette, int stream = 0) {
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  packet->stream_index = stream;
  if (palette >= 0) {
    uint8_t* const colors = av_packet_new_side_data(packet.get(), AV_PKT_DATA_PALETTE, kBytes);
    for (size_t i = 0; i < kBytes; ++i) colors[i] = static_cast<uint8_t>(palette);
  }
  EXPECT_EQ(memory->Pass(packet.get()), 0);
  const uint8_t* const colors = av_packet_get_side_data(packet.get(), AV_PKT_DATA_PALETTE, nullptr);
  return colors == nullptr ? -1 : colors[0];
}

TEST(PaletteMemory, GivesTheLastPaletteOnceAfterASeek) {
  PaletteMemory memory;
  EXPECT_EQ(Shown(&memory, -1), -1);
  EXPECT_EQ(Shown(&memory, 7), 7);
  EXPECT_EQ(Shown(&memory, 9), 9);
  EXPECT_EQ(Shown(&memory, -1), -1) << "the decoder has it";
  memory.OnSeek();
  EXPECT_EQ(Shown(&memory, -1, 1), -1) << "another stream";
  EXPECT_EQ(Shown(&memory, -1), 9);
  EXPECT_EQ(Shown(&memory, -1), -1);
  memory.OnSeek();
  EXPECT_EQ(Shown(&memory, 3), 3) << "the packet has its own";
}

}  // namespace
}  // namespace codec
