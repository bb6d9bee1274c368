// SPDX-License-Identifier: MIT
// Pictures that are copied: the packets of the source in reverse order, byte for byte, with the
// times and the sound of the mirror.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/edit_lists.h"
#include "tests/support/field_clips.h"
#include "tests/support/media_reading.h"
#include "tests/support/picture_count.h"
#include "tests/support/player_view.h"

namespace test_support {
namespace {

constexpr int kPictures = 50;
constexpr int kWidth = kNumberBits * kNumberCell;
constexpr int kHeight = 128;
constexpr double kMatroskaTick = 0.001;
constexpr char kAlone[] = "-c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 1";

// Two seconds of pictures and sound.
std::string Source(const std::string& file, const std::string& coding, double seconds = 2) {
  std::vector<std::string> words = {"-f", "lavfi",
                                    "-i", SceneFilter(kWidth, kHeight, "25"),
                                    "-f", "lavfi",
                                    "-i", SweepFilter(48000, "stereo"),
                                    "-t", std::to_string(seconds)};
  AppendWords(coding, &words);
  return CustomClip("copy_" + file, words);
}

// The size and hash of each packet of pictures that players show, as ffmpeg reads them.
std::vector<std::string> Packets(const std::string& path) {
  const CommandResult result = Run({"ffmpeg", "-v", "error", "-i", path, "-map", "0:v:0", "-c",
                                    "copy", "-f", "framehash", "-hash", "md5", "-"});
  std::vector<std::string> packets;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    // Stream, two stamps and a duration come first; what stands beside a packet comes last.
    constexpr int kBefore = 4;
    std::istringstream fields(line);
    std::string field;
    for (int i = 0; i < kBefore; ++i) std::getline(fields, field, ',');
    std::string size;
    std::string hash;
    std::getline(fields, size, ',');
    std::getline(fields, hash, ',');
    packets.push_back(size + hash);
  }
  return packets;
}

template <typename Value>
std::vector<Value> Reversed(std::vector<Value> values) {
  std::reverse(values.begin(), values.end());
  return values;
}

// Of stereo samples, so that the channels stay.
std::vector<float> ReversedSound(const std::vector<float>& stereo) {
  std::vector<float> mirror(stereo.size());
  for (size_t i = 0; i < stereo.size(); i += 2) {
    mirror[i] = stereo[stereo.size() - 2 - i];
    mirror[i + 1] = stereo[stereo.size() - 1 - i];
  }
  return mirror;
}

CommandResult Copy(const std::string& source, const std::string& output,
                   const std::string& words = "") {
  std::vector<std::string> arguments = {"-i", source, "-o", output, "--copy"};
  AppendWords(words, &arguments);
  return RunProgram(arguments);
}

// 't' or 'b': the field of a clip's pictures that comes first. FFmpeg 7 and later name raw pictures
// "tb" or "bt" if others name them "tt" or "bb".
char FirstField(const std::string& clip) { return StreamFields(clip, "v")["field_order"].at(0); }

// What players show, and when. Pictures are compared whole.
void ExpectMirror(const std::string& source, const std::string& output) {
  const ViewWords words = {kWidth, kHeight};
  ExpectSame(Mirrored(ViewOf(source, words)), ViewOf(output, words), -kLengthRounding,
             kLengthRounding);
}

struct Kind {
  const char* file;
  const char* coding;
  const char* codec;
  const char* containers;  // that the packets fit into
};

void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.file; }

const Kind kKinds[] = {
    {"prores.mov", "-c:v prores_ks -pix_fmt yuv422p10le -c:a pcm_s24le", "prores", "mov mkv"},
    {"mjpeg.avi", "-c:v mjpeg -pix_fmt yuvj420p -c:a pcm_s16le", "mjpeg", "avi mkv mov"},
    {"mjpeg.mkv", "-c:v mjpeg -pix_fmt yuvj420p -c:a pcm_f32le", "mjpeg", "avi mkv mov"},
    {"mjpeg.mov", "-c:v mjpeg -pix_fmt yuvj420p -c:a pcm_s16le", "mjpeg", "avi mkv mov"},
    {"dnxhd.mov", "-c:v dnxhd -profile:v dnxhr_hq -pix_fmt yuv422p -c:a pcm_s16le", "dnxhd",
     "mov mkv"},
    {"ffv1.mkv", "-c:v ffv1 -g 1 -c:a flac", "ffv1", "mkv avi"},
    {"huffyuv.avi", "-c:v huffyuv -c:a pcm_s16le", "huffyuv", "avi mkv"},
    {"png.mov", "-c:v png -c:a pcm_s24be", "png", "mov mkv avi"},
    {"raw.avi", "-c:v rawvideo -pix_fmt yuv420p -c:a pcm_s16le", "rawvideo", "avi mkv"},
    {"raw.mov", "-c:v rawvideo -pix_fmt uyvy422 -c:a pcm_s16le", "rawvideo", "mov mkv avi"},
    {"h264.mov", "-c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 1 -c:a alac", "h264",
     "mp4 mov mkv"},
    // Newer releases of FFmpeg write 32 bits unless a number is given. Only 24 of them are kept.
    {"hevc.mp4",
     "-c:v libx265 -preset ultrafast -x265-params keyint=1:log-level=error -pix_fmt yuv420p "
     "-c:a flac -bits_per_raw_sample:a 24 -strict -2",
     "hevc", "mp4 mov mkv"},
};

// FFmpeg 4 puts no sound without loss into MP4.
bool HasExactSound(const std::string& container) {
  return container != "mp4" || AV_VERSION_MAJOR(avformat_version()) >= 59;
}

class Copies : public testing::TestWithParam<Kind> {};

TEST_P(Copies, HaveThePacketsOfTheSourceInReverse) {
  const Kind& kind = GetParam();
  const std::string source = Source(kind.file, kind.coding);
  const std::vector<std::string> expected = Reversed(Packets(source));
  ASSERT_EQ(expected.size(), static_cast<size_t>(kPictures));
  const std::vector<float> sound = ReversedSound(DecodeStereo(source));
  std::istringstream containers(kind.containers);
  for (std::string container; containers >> container;) {
    const std::string output = ScratchPath("copied." + container);
    const CommandResult result = Copy(source, output);
    if (!HasExactSound(container)) {
      EXPECT_NE(result.err.find("cannot hold sound without loss"), std::string::npos) << result.err;
      continue;
    }
    ASSERT_EQ(result.status, 0) << container << " " << result.err;
    EXPECT_EQ(StreamFields(output, "v")["codec_name"], kind.codec) << container;
    EXPECT_TRUE(Packets(output) == expected) << container;
    EXPECT_TRUE(DecodeStereo(output) == sound) << container;
    const std::vector<double> times = VideoTimes(output);
    ASSERT_EQ(times.size(), static_cast<size_t>(kPictures)) << container;
    for (size_t i = 0; i < times.size(); ++i) {
      EXPECT_NEAR(times[i], 0.04 * static_cast<double>(i), kMatroskaTick) << container;
    }
    EXPECT_EQ(StreamFields(output, "v")["r_frame_rate"], "25/1") << container;
  }
}

INSTANTIATE_TEST_SUITE_P(Codecs, Copies, testing::ValuesIn(kKinds), [](const auto& tested) {
  std::string name = tested.param.file;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
});

// MP4 parts the units of a picture by lengths, a transport stream by start codes. So the packets of
// ffmpeg's own copy into the container count.
TEST(Copy, PassesFromTransportStreamsToMp4AndBack) {
  const std::string mp4 = Source("framed.mp4", std::string(kAlone) + " -c:a aac");
  const std::string ts = Source("framed.ts", std::string(kAlone) + " -c:a mp2");
  const std::string hevc = Source(
      "framed_hevc.ts",
      "-c:v libx265 -preset ultrafast -x265-params keyint=1:log-level=error -pix_fmt yuv420p -an");
  struct Way {
    std::string source;
    const char* extension;
  };
  for (const Way& way :
       {Way{mp4, ".ts"}, Way{ts, ".mp4"}, Way{ts, ".ts"}, Way{hevc, ".ts"}, Way{hevc, ".mov"}}) {
    SCOPED_TRACE(way.source + way.extension);
    const std::string forward = ScratchPath(std::string("forward") + way.extension);
    ASSERT_EQ(test_support::Run(
                  {"ffmpeg", "-v", "error", "-y", "-i", way.source, "-an", "-c", "copy", forward})
                  .status,
              0);
    const std::string output = ScratchPath(std::string("framed") + way.extension);
    const CommandResult result = Copy(way.source, output, "--no-sound");
    ASSERT_EQ(result.status, 0) << result.err;
    // Before a start code there may be a zero. FFmpeg's reader of HEVC counts the zero to one
    // packet or to the next, depending on which they are.
    const bool isVague = way.source == hevc && std::string(way.extension) == ".ts";
    EXPECT_TRUE(isVague || Packets(output) == Reversed(Packets(forward)));
    const std::vector<Picture> pictures = DecodeLuma(output);
    ASSERT_EQ(pictures.size(), static_cast<size_t>(kPictures));
    for (int i = 0; i < kPictures; ++i) {
      EXPECT_EQ(ReadFrameNumber(pictures[static_cast<size_t>(i)]), kPictures - 1 - i);
    }
  }
}

// Each picture is shown for its own time, to the tick.
TEST(Copy, KeepsTimesThatVary) {
  const std::string source =
      Source("vary.mov", "-vf setpts=N*(0.02+0.03*mod(N\\,3))/TB " + FrameTimingOption() +
                             " passthrough -c:v prores_ks -c:a pcm_s16le -video_track_timescale "
                             "1000");
  ExpectMirror(source, [&] {
    const std::string output = ScratchPath("vary.mov");
    EXPECT_EQ(Copy(source, output).status, 0);
    EXPECT_TRUE(Packets(output) == Reversed(Packets(source)));
    return output;
  }());
}

// Pictures whose number N gives their time in milliseconds.
std::string UnevenPictures(const std::string& name, const std::string& time) {
  return Source(name, "-vf settb=1/1000,setpts=" + time + " " + FrameTimingOption() +
                          " passthrough -enc_time_base 1:1000 -c:v mjpeg -pix_fmt yuvj420p -an "
                          "-video_track_timescale 1000");
}

// How long the last packet of the pictures is shown, in seconds.
double LastDuration(const std::string& path) {
  std::vector<std::string> durations;
  AppendWords(Run({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                   "packet=duration_time", "-of", "default=nk=1:nw=1", path})
                  .out,
              &durations);
  return durations.empty() ? 0 : std::stod(durations.back());
}

// A range may begin while an earlier picture is shown. Where pictures last as long as they like,
// the first one of the range is shown in its place; equally long ones stay so.
TEST(Copy, OfARangeShowsItsOldestPictureUpToTheEnd) {
  const std::string output = ScratchPath("open_end.mov");
  // At 0, 0.06, 0.08, 0.14, 0.16 s and so on.
  const std::string uneven = UnevenPictures("pairs.mov", "(N+0.5*mod(N\\,2))*40");
  ASSERT_EQ(Copy(uneven, output, "-s 0.1 -e 0.5").status, 0);
  EXPECT_NEAR(LastDuration(output), 0.06, kMatroskaTick);
  ASSERT_EQ(Copy(Source("mjpeg.mov", kKinds[3].coding), output, "-s 0.33 -e 0.5").status, 0);
  EXPECT_NEAR(LastDuration(output), 0.04, kMatroskaTick);
}

// AVI has a tick of 40 ms for each of these pictures, which come four at a time within 30 ms.
TEST(Copy, GivesEachPictureATickOfItsOwn) {
  const std::string source = UnevenPictures("bursts.mov", "floor(N/4)*160+mod(N\\,4)*10");
  const std::string output = ScratchPath("ticks.avi");
  const CommandResult result = Copy(source, output);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(Packets(output) == Reversed(Packets(source)));
  const std::vector<double> times = VideoTimes(output);
  EXPECT_EQ(times.size(), static_cast<size_t>(CountPackets(source)));
  EXPECT_EQ(std::adjacent_find(times.begin(), times.end(), std::greater_equal<>()), times.end());
}

TEST(Copy, TakesTheRangeThatIsAskedFor) {
  const std::string source = Source("mjpeg.mov", kKinds[3].coding);
  const std::vector<std::string> all = Packets(source);
  const std::vector<float> sound = DecodeStereo(source);
  const std::string output = ScratchPath("range.mov");
  const CommandResult result = Copy(source, output, "-s 0.6 -e 1.4");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(Packets(output) ==
              Reversed(std::vector<std::string>(all.begin() + 15, all.begin() + 35)));
  constexpr size_t kSamplesEach = 2 * 4800;  // of a tenth of a second
  EXPECT_TRUE(DecodeStereo(output) ==
              ReversedSound(std::vector<float>(sound.begin() + 6 * kSamplesEach,
                                               sound.begin() + 14 * kSamplesEach)));
  EXPECT_NEAR(std::stod(ContainerFields(output)["duration"]), 0.8, 1e-3);
}

// A range may end while a picture is shown. AVI has a tick for each picture, which does not tell
// such a time.
TEST(Copy, OfARangeShowsItsNewestPictureForItsPartOnly) {
  const std::string source = Source("mjpeg.avi", kKinds[1].coding);
  const std::vector<std::string> all = Packets(source);
  const std::string output = ScratchPath("part.mov");
  const CommandResult result = Copy(source, output, "-s 0.32 -e 0.41 --strict");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(Packets(output) ==
              Reversed(std::vector<std::string>(all.begin() + 8, all.begin() + 11)));
  const std::vector<double> times = VideoTimes(output);
  ASSERT_EQ(times.size(), 3U);
  EXPECT_EQ(times[0], 0.0);
  EXPECT_NEAR(times[1], 0.01, 1e-4);
  EXPECT_NEAR(times[2], 0.05, 1e-4);
}

TEST(Copy, OfARangeBetweenTwoPicturesIsRefused) {
  const std::string output = ScratchPath("between.mov");
  const CommandResult result =
      Copy(Source("mjpeg.avi", kKinds[1].coding), output, "-s 0.41 -e 0.43");
  EXPECT_NE(result.status, 0);
  EXPECT_NE(result.err.find("has no picture that begins in the range"), std::string::npos)
      << result.err;
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(Copy, OfACopyIsTheSource) {
  for (const char* const extension : {".mov", ".mkv", ".avi"}) {
    const std::string source = Source("mjpeg.mov", kKinds[3].coding);
    const std::string once = ScratchPath(std::string("once") + extension);
    const std::string twice = ScratchPath(std::string("twice") + extension);
    ASSERT_EQ(Copy(source, once).status, 0);
    ASSERT_EQ(Copy(once, twice).status, 0);
    EXPECT_TRUE(Packets(twice) == Packets(source)) << extension;
    EXPECT_TRUE(DecodeStereo(twice) == DecodeStereo(source)) << extension;
    const std::vector<double> times = VideoTimes(twice);
    ASSERT_EQ(times.size(), static_cast<size_t>(kPictures));
    for (size_t i = 0; i < times.size(); ++i) {
      EXPECT_NEAR(times[i], 0.04 * static_cast<double>(i), kMatroskaTick) << extension;
    }
  }
}

// What the file's list of edits leaves out is not copied, and what it shows twice is.
TEST(Copy, ShowsWhatPlayersShowOfEditLists) {
  const std::string whole = Source("edits_aac.mov", std::string(kAlone) + " -c:a aac -b:a 192k", 4);
  const std::vector<std::string> clips = {
      CustomClip("copy_edits_cut.mov", {"-ss", "0.5", "-i", whole, "-c", "copy"}),
      WithEdits(whole, "copy_edits_late.mov", {{0.6, -1}, {3, 0.48}}),
      WithEdits(whole, "copy_edits_two.mov", {{1.28, 0.64}, {1.28, 2.56}}),
      WithEdits(whole, "copy_edits_back.mov", {{1.28, 2.56}, {1.28, 0.64}}),
  };
  for (const std::string& clip : clips) {
    SCOPED_TRACE(clip);
    const std::string output = ScratchPath("edits.mov");
    const CommandResult result = Copy(clip, output);
    ASSERT_EQ(result.status, 0) << result.err;
    ExpectMirror(clip, output);
  }
}

// The bounds of pieces depend on bytes, so large pictures have other ones than small ones.
TEST(Copy, MeetsEveryPictureOnceWhateverItsSize) {
  for (const char* const size : {"64x48", "1920x1080", "4096x4096"}) {
    const std::string source =
        CustomClip(std::string("copy_size_") + size + ".avi",
                   {"-f", "lavfi", "-i", std::string("testsrc2=rate=25:size=") + size, "-frames:v",
                    "30", "-c:v", "rawvideo", "-pix_fmt", "yuv420p"});
    const std::string output = ScratchPath("size.mkv");
    ASSERT_EQ(Copy(source, output).status, 0);
    EXPECT_TRUE(Packets(output) == Reversed(Packets(source))) << size;
  }
}

TEST(Copy, NeedsNoMoreMemoryForALongClip) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer keeps freed memory";
#endif
  const auto peak = [](const char* seconds) {
    const std::string source =
        CustomClip(std::string("copy_length_") + seconds + ".avi",
                   {"-f", "lavfi", "-i", "testsrc2=rate=25:size=640x360", "-t", seconds, "-c:v",
                    "rawvideo", "-pix_fmt", "yuv420p"});
    const CommandResult result = Copy(source, ScratchPath("length.avi"));
    EXPECT_EQ(result.status, 0) << result.err;
    return static_cast<double>(result.peakKilobytes);
  };
  EXPECT_LT(peak("32"), 1.1 * peak("8"));
}

TEST(Copy, KeepsTheTurnOfTheClip) {
  const std::string straight = Source("straight.mp4", std::string(kAlone) + " -c:a aac");
  const std::string turned = TurnedCopy(straight, "copy_turned.mp4", kHeight);
  const std::string output = ScratchPath("turned.mov");
  ASSERT_EQ(Copy(turned, output).status, 0);
  const auto turn = [](const std::string& path) {
    const std::string told =
        test_support::Run({"ffprobe", "-v", "error", "-select_streams", "v", "-show_streams", path})
            .out;
    const size_t matrix = std::min(told.find("displaymatrix="), told.size());
    return told.substr(matrix, told.find("[/SIDE_DATA]", matrix) - matrix);
  };
  EXPECT_FALSE(turn(turned).empty());
  EXPECT_EQ(turn(output), turn(turned));
  const std::string unturned = ScratchPath("turned.mkv");
  const CommandResult refused = Copy(turned, unturned);
  EXPECT_NE(refused.status, 0);
  EXPECT_NE(refused.err.find("players turn its pictures, which " + unturned +
                             " cannot ask for; use .mov or .mp4, or leave --copy out, which "
                             "encodes its pictures anew\n"),
            std::string::npos)
      << refused.err;
}

// Time runs backward, so the other field comes first. ProRes says which one in each picture.
TEST(Copy, TurnsTheOrderOfFieldsIfThePicturesDoNotSayIt) {
  const FieldClip raw = {"copy_fields.mov", true, "-c:v rawvideo -pix_fmt uyvy422 -field_order tt"};
  const FieldClip prores = {"copy_fields_prores.mov", true, "-c:v prores_ks -flags +ildct"};
  const std::string source = MakeFieldClip(raw);
  const std::string output = ScratchPath("fields.mov");
  ASSERT_EQ(FirstField(source), 't');
  ASSERT_EQ(Copy(source, output).status, 0);
  EXPECT_EQ(StreamFields(output, "v")["field_order"], "bb");
  const CommandResult refused = Copy(MakeFieldClip(prores), output + "2.mov");
  EXPECT_NE(refused.status, 0);
  EXPECT_NE(refused.err.find("its pictures are interlaced"), std::string::npos) << refused.err;
}

// A container that keeps the order gets no warning.
TEST(Copy, WarnsOfAContainerThatDoesNotSayTheOrderOfFields) {
  const std::string source =
      MakeFieldClip({"copy_fields_png.mov", false, "-c:v png -pix_fmt rgb24 -field_order bb"});
  ASSERT_EQ(FirstField(source), 'b');
  for (const std::string container : {".avi", ".mov", ".mkv"}) {
    const std::string output = ScratchPath("fields_told" + container);
    const CommandResult result = Copy(source, output);
    EXPECT_EQ(result.status, 0) << result.err;
    const bool isTold = StreamFields(output, "v")["field_order"] == "tt";
    const bool isWarned = result.err.find("the pictures are interlaced, which " + output +
                                          " does not say") != std::string::npos;
    EXPECT_EQ(isTold, container != ".avi");
    EXPECT_EQ(isWarned, !isTold) << container << " " << result.err;
  }
}

struct Refusal {
  const char* output;
  std::string source;
  const char* words;
  const char* advice;  // part of the last line
};

// One line says why, and what would work. What stood at the output is still there.
TEST(Copy, ThatCannotBeMadeEndsBeforeTheOutputExists) {
  const std::string jpeg = Source("mjpeg.mov", kKinds[3].coding);
  const Refusal refusals[] = {
      {"a.mp4", Clip(ClipKind::kH264), "",
       "leans on others (h264), so that it cannot stand in another order; leave --copy out, which "
       "encodes its pictures anew"},
      {"a.mkv", Clip(ClipKind::kH264Short), "-s 1", "its picture at 1.040 s leans on others"},
      {"a.webm", Clip(ClipKind::kVp9), "", "leans on others (vp9)"},
      {"a.mkv", Source("ffv1_long.mkv", "-c:v ffv1 -g 12 -c:a flac"), "",
       "its picture at 0.040 s leans on others (ffv1)"},
      {"a.webm", jpeg, "",
       "a.webm cannot hold its mjpeg pictures; use .mov or .mkv or .mp4 or .avi, or leave --copy "
       "out, which encodes its pictures anew"},
      {"a%d.png", jpeg, "--no-sound", "a%d.png cannot hold its mjpeg pictures"},
      {"a.mov", Source("raw.avi", kKinds[8].coding), "", "cannot hold its rawvideo pictures"},
      {"a.ts", Source("h264.mov", kKinds[10].coding), "",
       "a.ts cannot hold sound without loss; use .mov or .mkv"},
      {"a.mov", jpeg, "--set audio-codec=flac", "a.mov cannot hold flac sound like this; use .mkv"},
      {"a.mov", jpeg, "--set crf=20",
       "--copy writes the pictures as they are, and cannot set crf; leave one of the two out"},
      {"a.mov", jpeg, "--plain", "--copy goes beyond the plain reversal; leave --plain out"},
      {"a.mov", Clip(ClipKind::kAudioOnly), "", "has sound only; use a clip that has video"},
  };
  for (const Refusal& refusal : refusals) {
    const std::string output = ScratchPath(refusal.output);
    SCOPED_TRACE(refusal.source + " " + refusal.output + " " + refusal.words);
    std::filesystem::remove(output);
    CommandResult result = Copy(refusal.source, output, refusal.words);
    EXPECT_NE(result.status, 0);
    const std::string last = result.err.substr(result.err.rfind('\n', result.err.size() - 2) + 1);
    EXPECT_NE(last.find(refusal.advice), std::string::npos) << result.err;
    EXPECT_FALSE(std::filesystem::exists(output));
    std::ofstream(output) << "old";
    result = Copy(refusal.source, output, refusal.words);
    EXPECT_NE(result.status, 0);
    EXPECT_EQ(std::filesystem::file_size(output), 3U);
    std::filesystem::remove(output);
  }
}

// Sound that is encoded after all goes where PCM does not.
TEST(Copy, EncodesSoundIfACodecIsNamed) {
  const std::string source = Source("h264.mov", kKinds[10].coding);
  const std::string output = ScratchPath("encoded.ts");
  const CommandResult result = Copy(source, output, "--set audio-codec=aac");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(StreamFields(output, "a")["codec_name"], "aac");
  EXPECT_EQ(CountPackets(output), kPictures);
}

// AVI has slots of one length for its pictures. These encoders begin before the first of them.
TEST(Copy, LeavesNoSlotEmptyIfSoundIsEncoded) {
  const std::string source = Source("mjpeg.avi", kKinds[1].coding);
  for (const char* const codec : {"aac", "libmp3lame"}) {
    const std::string output = ScratchPath("slots.avi");
    const CommandResult result = Copy(source, output, std::string("--set audio-codec=") + codec);
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<double> times = VideoTimes(output);
    ASSERT_EQ(times.size(), static_cast<size_t>(kPictures));
    for (size_t i = 0; i < times.size(); ++i) {
      EXPECT_NEAR(times[i], 0.04 * static_cast<double>(i), 1e-6) << codec;
    }
  }
}

struct Sound {
  const char* source;
  const char* output;
  const char* codec;
};

TEST(Copy, GivesSoundItsOwnWidth) {
  const Sound sounds[] = {{"pcm_s16le", "a.mov", "pcm_s16le"},
                          {"pcm_s24le", "a.mov", "pcm_s24le"},
                          {"pcm_f32le", "a.mov", "pcm_f32le"},
                          {"pcm_s16le", "a.avi", "pcm_s16le"},
                          {"aac", "a.mkv", "pcm_f32le"}};
  for (const Sound& sound : sounds) {
    const std::string source =
        Source(std::string("width_") + sound.source + ".mov",
               std::string("-c:v mjpeg -pix_fmt yuvj420p -ar 44100 -c:a ") + sound.source);
    const std::string output = ScratchPath(sound.output);
    ASSERT_EQ(Copy(source, output).status, 0);
    EXPECT_EQ(StreamFields(output, "a")["codec_name"], sound.codec) << sound.source;
    EXPECT_EQ(StreamFields(output, "a")["sample_rate"], "44100") << sound.source;
    if (std::string(sound.source) == "aac") continue;
    EXPECT_TRUE(DecodeStereo(output) == ReversedSound(DecodeStereo(source))) << sound.source;
  }
}

// FFmpeg's own copy has the beginning of the picture that the file breaks off in.
TEST(Copy, LeavesOutAPictureOfWhichAPartIsMissing) {
  if (AV_VERSION_MAJOR(avformat_version()) < 59) {
    GTEST_SKIP() << "FFmpeg 4 does not hand on that a packet of MXF is cut";
  }
  const std::string source =
      Source("cut.mxf", "-c:v dnxhd -profile:v dnxhr_lb -pix_fmt yuv422p -an");
  const std::string path = ScratchPath("cut.mxf");
  std::filesystem::copy_file(source, path, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::resize_file(path, std::filesystem::file_size(path) * 6 / 10);
  std::vector<std::string> whole = Packets(source);
  const std::vector<std::string> left = Packets(path);
  ASSERT_LT(left.size(), whole.size());
  whole.resize(left.size() - 1);
  ASSERT_TRUE(std::equal(whole.begin(), whole.end(), left.begin())) << "only the last is cut";

  const std::string output = ScratchPath("uncut.mov");
  const CommandResult result = Copy(path, output);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.err.find("1 picture could not be decoded"), std::string::npos) << result.err;
  EXPECT_TRUE(Packets(output) == Reversed(whole)) << CountPackets(output);
  EXPECT_NE(RunProgram({"-i", path, "-o", output, "--copy", "--strict"}).status, 0);
}

// A copy has what ffmpeg's own copy has of a file that breaks off, or has a hole.
TEST(Copy, OfDamagedFilesHasWhatIsLeft) {
  const std::string source = Source("mjpeg.mkv", kKinds[2].coding);
  std::ifstream file(source, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::string holed = bytes;
  std::fill_n(holed.begin() + static_cast<long>(bytes.size() / 2), 20000, '\0');
  for (const std::string& damaged : {bytes.substr(0, bytes.size() * 6 / 10), holed}) {
    const std::string path = ScratchPath("damaged.mkv");
    std::ofstream(path, std::ios::binary) << damaged;
    const std::vector<std::string> left = Packets(path);
    EXPECT_LT(left.size(), static_cast<size_t>(kPictures));
    const std::string output = ScratchPath("repaired.mkv");
    const CommandResult result = Copy(path, output);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(Packets(output) == Reversed(left)) << left.size() << " " << CountPackets(output);
  }
}

}  // namespace
}  // namespace test_support
