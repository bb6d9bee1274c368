// SPDX-License-Identifier: MIT
#include "codec/decoder/field_probe.h"

#include <gtest/gtest.h>

#include <string>

#include "codec/decoder/session_opener.h"
#include "codec/decoder/time_probe.h"
#include "tests/support/clips.h"
#include "tests/support/field_clips.h"
#include "tests/support/joined_clips.h"

namespace codec {
namespace {

using test_support::CustomClip;
using test_support::FieldClip;
using test_support::MakeFieldClip;

constexpr FieldClip kTopFirst = {
    "probe_top.ts", true,
    "-c:v libx264 -preset superfast -pix_fmt yuv420p -bf 0 -flags +ildct+ilme -x264-params tff=1"};
constexpr FieldClip kBottomFirst = {
    "probe_bottom.ts", false,
    "-c:v libx264 -preset superfast -pix_fmt yuv420p -bf 0 -flags +ildct+ilme -x264-params bff=1"};
constexpr FieldClip kNotTold = {"probe_whole.ts", true,
                                "-c:v libx264 -preset superfast -pix_fmt yuv420p -bf 0 -g 3"};

struct Found {
  FieldOrder order;
  FieldOrder first;  // of the first picture
  int64_t decoded;   // pictures beside the first one
};

// What is found if the header says `named`.
Found FieldsOf(const std::string& path, AVFieldOrder named) {
  DecodeSession session;
  MediaInfo info;
  DecoderOptions options;
  options.threads = 1;
  SessionOpener opener(&session, &info, options);
  EXPECT_EQ(opener.Open(path), 0) << path;
  session.video->Stream()->codecpar->field_order = named;
  TimeProbe times(&session);
  times.Run();
  const int64_t before = session.video->FramesDecoded();
  const FieldOrder order = FieldProbe(&session).Run(times.FirstFields());
  return {order, times.FirstFields(), session.video->FramesDecoded() - before};
}

TEST(FieldProbe, BelievesAnInterlacedPictureAndLooksNoFurther) {
  for (const AVFieldOrder named : {AV_FIELD_UNKNOWN, AV_FIELD_PROGRESSIVE, AV_FIELD_TT}) {
    const Found found = FieldsOf(MakeFieldClip(kBottomFirst), named);
    EXPECT_EQ(found.order, FieldOrder::kBottomFirst);
    EXPECT_EQ(found.decoded, 0);
  }
  EXPECT_EQ(FieldsOf(MakeFieldClip(kTopFirst), AV_FIELD_UNKNOWN).order, FieldOrder::kTopFirst);
}

TEST(FieldProbe, BelievesAHeaderThatNamesNoFields) {
  for (const AVFieldOrder named : {AV_FIELD_UNKNOWN, AV_FIELD_PROGRESSIVE}) {
    const Found found = FieldsOf(MakeFieldClip(kNotTold), named);
    EXPECT_EQ(found.order, FieldOrder::kProgressive);
    EXPECT_EQ(found.decoded, 0);
  }
}

TEST(FieldProbe, LooksForThePicturesThatAHeaderSpeaksOf) {
  const Found found = FieldsOf(MakeFieldClip(kNotTold), AV_FIELD_TT);
  EXPECT_EQ(found.order, FieldOrder::kProgressive);
  EXPECT_GT(found.decoded, 8);
}

TEST(FieldProbe, FindsThemLaterInTheClip) {
  const FieldClip later = {"probe_later.ts", false,
                           "-c:v libx264 -preset superfast -pix_fmt yuv420p -bf 0 -flags "
                           "+ildct+ilme -x264-params bff=1 -output_ts_offset 0.48"};
  const std::string joined =
      test_support::JoinFiles("fields_joined.ts", {MakeFieldClip(kNotTold), MakeFieldClip(later)});
  const Found found = FieldsOf(joined, AV_FIELD_TT);
  EXPECT_EQ(found.first, FieldOrder::kProgressive);
  EXPECT_EQ(found.order, FieldOrder::kBottomFirst);
}

TEST(FieldProbe, TakesTheHeadersWordForCodecsWhosePicturesSayNothing) {
  const std::string path =
      MakeFieldClip({"probe_huffman.avi", true, "-c:v huffyuv -pix_fmt yuv422p"});
  EXPECT_EQ(FieldsOf(path, AV_FIELD_TB).order, FieldOrder::kTopFirst);
  EXPECT_EQ(FieldsOf(path, AV_FIELD_BB).order, FieldOrder::kBottomFirst);
  EXPECT_EQ(FieldsOf(path, AV_FIELD_UNKNOWN).order, FieldOrder::kProgressive);
}

TEST(FieldProbe, KnowsPicturesThatAreSingleFields) {
  const std::string path = CustomClip(
      "probe_single.mp4", {"-f", "lavfi", "-i", test_support::SceneFilter(320, 144, "50"),
                           "-frames:v", "20", "-c:v", "libx265", "-preset", "ultrafast",
                           "-x265-params", "log-level=error:interlace=tff", "-pix_fmt", "yuv420p"});
  EXPECT_EQ(FieldsOf(path, AV_FIELD_UNKNOWN).order, FieldOrder::kSingle);
}

TEST(NamedOrder, GoesByTheFieldThatIsStoredAbove) {
  EXPECT_EQ(NamedOrder(AV_FIELD_TT), FieldOrder::kTopFirst);
  EXPECT_EQ(NamedOrder(AV_FIELD_TB), FieldOrder::kTopFirst);
  EXPECT_EQ(NamedOrder(AV_FIELD_BB), FieldOrder::kBottomFirst);
  EXPECT_EQ(NamedOrder(AV_FIELD_BT), FieldOrder::kBottomFirst);
  EXPECT_EQ(NamedOrder(AV_FIELD_PROGRESSIVE), FieldOrder::kProgressive);
  EXPECT_EQ(NamedOrder(AV_FIELD_UNKNOWN), FieldOrder::kProgressive);
}

}  // namespace
}  // namespace codec
