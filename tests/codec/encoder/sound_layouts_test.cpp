// SPDX-License-Identifier: MIT
#include "codec/encoder/sound_layouts.h"

#include <gtest/gtest.h>

#include "codec/ffmpeg/log_bridge.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

constexpr uint64_t kMono = AV_CH_LAYOUT_MONO;
constexpr uint64_t kStereo = AV_CH_LAYOUT_STEREO;
constexpr uint64_t kBack = AV_CH_LAYOUT_5POINT1_BACK;
constexpr uint64_t kSide = AV_CH_LAYOUT_5POINT1;
constexpr uint64_t kSeven = AV_CH_LAYOUT_7POINT1;
constexpr uint64_t kWide = AV_CH_LAYOUT_7POINT1_WIDE_BACK;

struct Row {
  const char* encoder;
  SoundLayout source;
  SoundLayout taken;
};

TEST(NearestLayout, IsTheSourcesIfTheEncoderTakesIt) {
  const test_support::LogCapture log;
  ffmpeg::InstallLogBridge();
  for (const Row& row :
       {Row{"aac", {1, kMono}, {1, kMono}}, Row{"aac", {6, kBack}, {6, kBack}},
        Row{"aac", {8, kSeven}, {8, kSeven}},
        // The places that have a number.
        Row{"aac", {6, kSide}, {6, kBack}}, Row{"flac", {6, kSide}, {6, kSide}},
        Row{"pcm_s16le", {6, kSide}, {6, kSide}}, Row{"pcm_s16le", {12, 0}, {12, 0}},
        Row{"ac3", {6, kSide}, {6, kSide}},
        // Refused by the encoder itself, which lists no layouts.
        Row{"libopus", {6, kSide}, {6, kBack}}, Row{"alac", {6, kSide}, {6, kBack}},
        Row{"alac", {8, kSeven}, {8, kWide}}, Row{"ac3", {8, kSeven}, {6, kBack}},
        Row{"libmp3lame", {6, kBack}, {2, kStereo}}, Row{"libmp3lame", {1, kMono}, {1, kMono}}}) {
    const SoundLayout taken = NearestLayout(row.encoder, row.source, 48000);
    EXPECT_EQ(taken.channels, row.taken.channels) << row.encoder << " " << row.source.mask;
    EXPECT_EQ(taken.mask, row.taken.mask) << row.encoder << " " << row.source.mask;
  }
  // An encoder that is tried does not say why it refuses.
  av_log_set_callback(&av_log_default_callback);
  for (const test_support::LogLine& line : log.Lines())
    EXPECT_GT(line.level, kLogWarn) << line.text;
}

TEST(NearestLayout, IsTheLayoutItselfWithoutAnEncoder) {
  EXPECT_TRUE((NearestLayout("no such encoder", {6, kSide}, 48000) == SoundLayout{6, kSide}));
  EXPECT_TRUE((NearestLayout("libx264", {6, kSide}, 48000) == SoundLayout{6, kSide}));
}

}  // namespace
}  // namespace codec
