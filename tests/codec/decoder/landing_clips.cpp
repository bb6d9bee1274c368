// SPDX-License-Identifier: MIT
#include "tests/codec/decoder/landing_clips.h"

#include <stdexcept>

#include "tests/codec/decoder/decoder_reading.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using test_support::CustomClip;

constexpr char kH264[] =
    "-c:v libx264 -preset ultrafast -g 120 -keyint_min 120 -sc_threshold 0 -bf 2";
constexpr char kOpenH264[] =
    "-c:v libx264 -preset ultrafast -g 120 -keyint_min 120 -sc_threshold 0 -bf 3 "
    "-x264-params open-gop=1";
constexpr char kOpenHevc[] =
    "-c:v libx265 -preset ultrafast -x265-params "
    "log-level=error:keyint=120:min-keyint=120:scenecut=0:bframes=3:open-gop=1 "
    "-tag:v hvc1";
constexpr char kMpeg4[] = "-c:v mpeg4 -q:v 4 -g 120 -sc_threshold 1000000000 -bf 2";

// A clip coded anew from the numbered scene, the smallest that has room for the number.
std::string Coded(const std::string& name, const std::string& coding, const char* rate = "12") {
  std::vector<std::string> words = {"-f", "lavfi", "-i", test_support::SceneFilter(400, 64, rate),
                                    "-f", "lavfi", "-i", "sine=f=440:r=48000"};
  test_support::AppendWords("-t 20 -pix_fmt yuv420p -c:a mp2 -b:a 64k " + coding, &words);
  return CustomClip(name, words);
}

// The streams of a clip in another container.
std::string Copied(const std::string& name, const std::string& clip, const std::string& options) {
  std::vector<std::string> words = {"-i", clip, "-c", "copy"};
  test_support::AppendWords(options, &words);
  return CustomClip(name, words);
}

std::string H264() { return Coded("landing_h264.mp4", kH264); }
std::string OpenH264() { return Coded("landing_h264_open.mp4", kOpenH264); }
std::string OpenHevc() { return Coded("landing_hevc_open.mp4", kOpenHevc); }
std::string Mpeg4() { return Coded("landing_mpeg4.mp4", kMpeg4); }

std::string OpenH264Transport() { return Coded("landing_h264_open.ts", kOpenH264); }
std::string OpenHevcTransport() { return Copied("landing_hevc_open.ts", OpenHevc(), ""); }
std::string Mpeg4Transport() { return Coded("landing_mpeg4_video.ts", kMpeg4); }
std::string OpenMpeg2Transport() {
  return Coded("landing_mpeg2_open.ts",
               "-c:v mpeg2video -q:v 4 -g 250 -sc_threshold 1000000000 -bf 2 -flags -cgop", "25");
}
std::string Hours() { return Copied("landing_hours.ts", H264(), "-output_ts_offset 36000"); }
// Stamps of 33 bits end 10 s into the clip: the muxer adds 1.4 s by itself.
std::string Wrap() { return Copied("landing_wrap.ts", H264(), "-output_ts_offset 95432.3"); }

// The stream begins in the middle of its first group, as a recording does: nothing of it can be
// decoded, and no leading picture of the second one.
std::string Cut(const std::string& clip, const std::string& name) {
  constexpr size_t kTables = 3 * 188;
  std::string bytes = FileBytes(clip);
  bytes.erase(kTables, bytes.size() * 3 / 8 / 188 * 188);
  return ScratchFile(name, bytes);
}
std::string CutH264() { return Cut(OpenH264Transport(), "cut_h264.ts"); }
std::string CutMpeg2() { return Cut(OpenMpeg2Transport(), "cut_mpeg2.ts"); }
// Two pictures a second, the first 11 without their key picture: MPEG-4 decoders make something of
// them from the start of the input, and from no other place. A seek to the first second lands on
// the same packet as one to the start, as the stamps begin at 1.9 s.
std::string CutMpeg4() {
  const std::string whole =
      Coded("landing_mpeg4_slow.ts", "-c:v mpeg4 -q:v 4 -g 24 -sc_threshold 1000000000 -bf 0", "2");
  return Copied("landing_mpeg4_cut.ts", whole, "-an -copyinkf -ss 6.5 -output_ts_offset 0.5");
}

size_t Find(const std::string& bytes, const std::string& tag, size_t from = 0) {
  const size_t at = bytes.find(tag, from);
  if (at == std::string::npos) throw std::runtime_error("no " + tag);
  return at;
}

std::string Avi() { return Coded("landing_mpeg4.avi", kMpeg4); }

// An AVI whose index calls every chunk this.
std::string WithIndexFlags(char flags, const std::string& name) {
  constexpr size_t kEntry = 16;
  std::string bytes = FileBytes(Avi());
  for (size_t at = bytes.rfind("idx1") + 8; at + kEntry <= bytes.size(); at += kEntry) {
    bytes[at + 4] = flags;
  }
  return ScratchFile(name, bytes);
}
std::string NoKeyAvi() { return WithIndexFlags(0, "no_key.avi"); }
std::string AllKeyAvi() { return WithIndexFlags(16, "all_key.avi"); }
std::string NoIndexAvi() {
  std::string bytes = FileBytes(Avi());
  return ScratchFile("no_index.avi", bytes.replace(bytes.rfind("idx1"), 4, "JUNK"));
}

// Without this table every picture of an MP4 counts as a key picture.
std::string WithoutKeyTable(const std::string& clip, const std::string& name) {
  std::string bytes = FileBytes(clip);
  return ScratchFile(name, bytes.replace(Find(bytes, "stss"), 4, "free"));
}
std::string AllKeyMpeg4() { return WithoutKeyTable(Mpeg4(), "all_key_mpeg4.mp4"); }
std::string AllKeyHevc() { return WithoutKeyTable(OpenHevc(), "all_key_hevc.mp4"); }
std::string AllKeyH264() { return WithoutKeyTable(OpenH264(), "all_key_h264.mp4"); }

// An MP4 whose second key picture is said to be the one fifty pictures later. It has no edit list:
// FFmpeg 4.3 obeys one that cuts the start of the sound only until the first seek.
std::string WrongKeyHevc() {
  constexpr size_t kSecond = 16;
  const std::string whole = Copied("landing_hevc_whole.mp4", OpenHevc(), "-use_editlist 0");
  std::string bytes = FileBytes(whole);
  char& low = bytes[Find(bytes, "stss") + kSecond + 3];
  low = static_cast<char>(low + 50);
  return ScratchFile("wrong_key_hevc.mp4", bytes);
}

std::string Matroska() { return Copied("landing_mpeg4.mkv", Mpeg4(), ""); }
constexpr char kCues[] = "\x1c\x53\xbb\x6b";
std::string NoCues() {
  std::string bytes = FileBytes(Matroska());
  for (size_t at = bytes.find(kCues); at != std::string::npos; at = bytes.find(kCues, at)) {
    bytes[at + 3] = '\x6c';
  }
  return ScratchFile("no_cues.mkv", bytes);
}
// The cue of each time from the second on leads to the last cluster.
std::string LateCues() {
  std::string bytes = FileBytes(Matroska());
  const std::string position = "\xf1\x83";
  const std::string last = bytes.substr(bytes.rfind(position) + position.size(), 3);
  for (size_t at = Find(bytes, position, bytes.rfind(kCues)); at != std::string::npos;
       at = bytes.find(position, at + 1)) {
    bytes.replace(at + position.size(), last.size(), last);
  }
  return ScratchFile("late_cues.mkv", bytes);
}

}  // namespace

const std::vector<LandingClip>& LandingClips() {
  static const std::vector<LandingClip> clips = {
      {"OpenH264", 240, OpenH264Transport},
      {"OpenHevc", 240, OpenHevcTransport},
      {"OpenMpeg2", 500, OpenMpeg2Transport},
      {"Mpeg4", 240, Mpeg4Transport},
      {"Hours", 240, Hours},
      {"Wrap", 240, Wrap},
      {"CutH264", 120, CutH264},
      {"CutMpeg2", 248, CutMpeg2},
      {"CutMpeg4", 27, CutMpeg4},
      {"NoKeyAvi", 240, NoKeyAvi},
      {"AllKeyAvi", 240, AllKeyAvi},
      {"NoIndexAvi", 240, NoIndexAvi},
      {"AllKeyMpeg4", 240, AllKeyMpeg4},
      {"AllKeyHevc", 240, AllKeyHevc},
      {"AllKeyH264", 240, AllKeyH264},
      {"WrongKeyHevc", 240, WrongKeyHevc},
      {"NoCues", 240, NoCues},
      {"LateCues", 240, LateCues},
  };
  return clips;
}

}  // namespace codec
