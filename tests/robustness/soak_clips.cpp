// SPDX-License-Identifier: MIT
#include "tests/robustness/soak_clips.h"

#include <array>

#include "tests/robustness/recipe.h"
#include "tests/support/edit_lists.h"
#include "tests/support/joined_clips.h"

namespace test_support {
namespace {

constexpr Recipe kUnedited = {"soak_unedited.mp4", "{b} {s} -t 2 {x264} -g 6 -bf 2 -c:a aac"};

constexpr std::array kMirror = {
    Recipe{"soak_uneven.mp4",
           "{b} {s} -t 1.2 -vf setpts=(N+0.4*mod(N\\,3))/15/TB {timing} passthrough {x264} -g 6 "
           "-bf 2 -c:a aac -movflags +faststart"},
    Recipe{"soak_fields.ts",
           "-f lavfi -i testsrc2=size=160x96:rate=30 {s} -t 1 -vf "
           "tinterlace=mode=interleave_top,setfield=tff -c:v mpeg2video -flags +ildct+ilme -g 6 "
           "-bf 2 -c:a mp2"},
    Recipe{"soak_fields.mkv",
           "-f lavfi -i testsrc2=size=160x96:rate=30 {s} -t 1 -vf "
           "tinterlace=mode=interleave_bottom,setfield=bff {x264} -flags +ildct+ilme -x264-params "
           "bff=1 -g 6 -c:a aac"},
    Recipe{"soak_holes.mkv",
           "{b} {s} -t 2 -af aselect=not(between(t\\,0.6\\,1.3)) {x264} -g 6 -c:a libmp3lame"},
};

constexpr std::array kCopied = {
    Recipe{"soak_copy_prores.mov", "{b} {s} -t 1 -c:v prores -pix_fmt yuv422p10le -c:a pcm_s16le"},
    Recipe{"soak_copy_mjpeg.avi", "{b} {s} -t 1 -c:v mjpeg -pix_fmt yuvj420p -c:a pcm_s16le"},
    Recipe{"soak_copy_raw.avi", "{b} {s} -t 1 -c:v rawvideo -pix_fmt yuv420p -c:a pcm_u8"},
    Recipe{"soak_copy_png.mov", "{b} {s} -t 1 -c:v png -c:a aac"},
    Recipe{"soak_copy_ffv1.mkv", "{b} {s} -t 1 -c:v ffv1 -g 1 -c:a libvorbis"},
    Recipe{"soak_copy_h264.mp4", "{b} {s} -t 1 {x264} -g 1 -c:a aac"},
    Recipe{"soak_copy_h264.ts", "{b} {s} -t 1 {x264} -g 1 -c:a aac"},
    Recipe{"soak_copy_hevc.mkv",
           "{b} {s} -t 1 -c:v libx265 -preset ultrafast -pix_fmt yuv420p -x265-params "
           "log-level=error:keyint=1 -c:a libopus"},
};

std::string Edited() {
  return WithEdits(MakeClip(kUnedited), "soak_edits.mp4", {{0.2, -1}, {0.5, 0.7}, {0.4, 0.1}});
}

// The second recording goes on when the first one has ended, at another rate of the sound.
std::string OtherRate() {
  constexpr Recipe kFirst = {"soak_rate_first.ts", "{b} {a} -t 0.8 {x264} -g 6 -c:a aac"};
  constexpr Recipe kSecond = {
      "soak_rate_second.ts",
      "{b} {a} -t 0.8 {x264} -g 6 -c:a aac -ar 44100 -ac 1 -output_ts_offset 0.8"};
  return JoinFiles("soak_other_rate.ts", {MakeClip(kFirst), MakeClip(kSecond)});
}

std::string Restarted() {
  return JoinRecordings("soak_restarted", JoinedCoding::kH264, {{0, 15}, {15, 15, 100}}).path;
}

std::string RestartedDisc() {
  return JoinRecordings("soak_disc", JoinedCoding::kVob, {{0, 15}, {15, 15}}).path;
}

// Sound, none, and sound again.
std::string MuteBetween() {
  const std::string loud = MakeClip({"soak_loud.ts", "{b} {s} -t 0.8 {x264} -g 6 -c:a aac"});
  const std::string mute = MakeClip({"soak_mute.ts", "{b} -t 0.8 {x264} -g 6"});
  return JoinFiles("soak_mute_between.ts", {loud, mute, loud});
}

}  // namespace

std::vector<std::string> MirrorClips() {
  std::vector<std::string> paths;
  for (const Recipe& recipe : kMirror) paths.push_back(MakeClip(recipe));
  for (const auto make : {&Edited, &OtherRate, &Restarted, &RestartedDisc, &MuteBetween}) {
    paths.push_back(make());
  }
  return paths;
}

std::vector<std::string> CopyClips() {
  std::vector<std::string> paths;
  for (const Recipe& recipe : kCopied) paths.push_back(MakeClip(recipe));
  return paths;
}

}  // namespace test_support
