// SPDX-License-Identifier: MIT
#include "codec/decoder/palette_memory.h"

#include <algorithm>
#include <cerrno>

namespace codec {

int PaletteMemory::Pass(AVPacket* packet) {
  for (int i = 0; i < packet->side_data_elems; ++i) {
    const AVPacketSideData& data = packet->side_data[i];
    if (data.type != AV_PKT_DATA_PALETTE) continue;
    mPalettes[packet->stream_index] = {{data.data, data.data + data.size}, false};
    return 0;
  }
  const auto kept = mPalettes.find(packet->stream_index);
  if (kept == mPalettes.end() || !kept->second.isDue) return 0;
  const std::vector<uint8_t>& colors = kept->second.colors;
  uint8_t* const added = av_packet_new_side_data(packet, AV_PKT_DATA_PALETTE, colors.size());
  if (added == nullptr) return AVERROR(ENOMEM);
  std::copy(colors.begin(), colors.end(), added);
  kept->second.isDue = false;
  return 0;
}

void PaletteMemory::OnSeek() {
  for (auto& [stream, palette] : mPalettes) palette.isDue = true;
}

}  // namespace codec
