// SPDX-License-Identifier: MIT
#include "tests/reverse/walk_clips.h"

#include "codec/ffmpeg/owned.h"
#include "tests/codec/decoder/decoder_reading.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using test_support::AppendWords;
using test_support::CustomClip;
using test_support::SceneFilter;
using test_support::SweepFilter;

// The noise that a decoder puts in for what the encoder left out depends on all that it has
// decoded.
constexpr char kAac[] = " -c:a aac -b:a 96k -aac_pns 0";
constexpr char kH264[] = "-c:v libx264 -preset veryfast -crf 24 -sc_threshold 0 ";
constexpr char kMpeg2[] =
    "-c:v mpeg2video -q:v 4 -bf 2 -sc_threshold 1000000000 -c:a mp2 -b:a 96k ";
constexpr char kMpeg4[] = "-c:v mpeg4 -q:v 4 -sc_threshold 1000000000 ";

// What a clip is made of, where most have the usual of it.
struct Scene {
  const char* seconds = "6";
  const char* rate = "25";
  std::string pictures = "";  // filters
  std::string sound = "";     // filters
  int width = 160;
  int height = 120;
};

std::string Coded(const std::string& file, const std::string& coding, const Scene& scene = {}) {
  std::vector<std::string> words = {
      "-f", "lavfi", "-i", SceneFilter(scene.width, scene.height, scene.rate) + scene.pictures,
      "-f", "lavfi", "-i", SweepFilter(48000, "stereo") + scene.sound};
  AppendWords(
      std::string("-t ") + scene.seconds + " " + test_support::FrameTimingOption() + " passthrough",
      &words);
  AppendWords(coding.find("pix_fmt") == std::string::npos ? "-pix_fmt yuv420p" : "", &words);
  AppendWords(coding, &words);
  return CustomClip("walk_" + file, words);
}

// The streams of a clip in another container, or a part of them.
std::string Copied(const std::string& file, const std::string& clip, const std::string& before,
                   const std::string& after) {
  std::vector<std::string> words;
  AppendWords(before, &words);
  words.insert(words.end(), {"-i", clip, "-c", "copy"});
  AppendWords(after, &words);
  return CustomClip("walk_" + file, words);
}

std::string Groups(int length) {
  return kH264 + ("-g " + std::to_string(length)) + " -keyint_min " + std::to_string(length);
}
std::string Closed(int length) { return Groups(length) + " -bf 2" + kAac; }
std::string Open(int length) { return Groups(length) + " -bf 3 -x264-params open-gop=1" + kAac; }
std::string Hevc(const std::string& more) {
  return "-c:v libx265 -preset ultrafast -x265-params "
         "log-level=error:keyint=30:min-keyint=30:scenecut=0:bframes=3:" +
         more + " -tag:v hvc1" + kAac;
}

// Turns the packets of some pictures into zeros.
std::string WithoutPackets(const std::string& clip, const std::string& file,
                           const std::vector<int>& numbers) {
  std::string bytes = FileBytes(clip);
  AVFormatContext* opened = nullptr;
  avformat_open_input(&opened, clip.c_str(), nullptr, nullptr);
  const ffmpeg::UniqueInput input(opened);
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  int number = 0;
  while (av_read_frame(input.get(), packet.get()) >= 0) {
    const ffmpeg::PacketGuard guard(packet.get());
    if (packet->stream_index != 0) continue;
    for (const int wanted : numbers) {
      if (wanted != number) continue;
      const auto size = static_cast<size_t>(packet->size);
      bytes.replace(static_cast<size_t>(packet->pos), size, size, '\0');
    }
    ++number;
  }
  return ScratchFile(file, bytes);
}

std::string H264Closed12() { return Coded("closed12.mp4", Closed(12)); }
std::string H264Closed30() { return Coded("closed30.mp4", Closed(30)); }
std::string H264Closed250() { return Coded("closed250.mp4", Closed(250), {"12"}); }
std::string H264Open12() { return Coded("open12.mp4", Open(12)); }
std::string H264Open30() { return Coded("open30.mp4", Open(30)); }
std::string H264Open250() { return Coded("open250.mp4", Open(250), {"12"}); }
std::string H264OneKey() { return Coded("one_key.mp4", Closed(9999)); }
std::string H264Fragments() {
  return Copied("fragments.mp4", H264Closed30(), "", "-movflags frag_keyframe+empty_moov");
}
std::string HevcClosed() { return Coded("hevc.mp4", Hevc("open-gop=0")); }
std::string HevcOpen() { return Coded("hevc_open.mp4", Hevc("open-gop=1")); }
std::string TenBit() {
  return Coded("ten_bit.mkv", Groups(30) + " -bf 2 -pix_fmt yuv420p10le -c:a flac");
}
std::string OddSize() {
  return Coded("odd.mkv", Groups(25) + " -bf 2 -pix_fmt yuv444p -c:a flac",
               {"5", "25", "", "", 161, 121});
}
std::string Vp9() {
  return Coded("vp9.webm",
               "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 300k -g 30 "
               "-c:a libopus -b:a 96k");
}
std::string Mpeg2Program() { return Coded("mpeg2.mpg", std::string(kMpeg2) + "-g 15"); }
std::string Mpeg2Transport() { return Coded("mpeg2.ts", std::string(kMpeg2) + "-g 15"); }
std::string Mpeg4Avi() { return Coded("mpeg4.avi", std::string(kMpeg4) + "-g 40 -c:a libmp3lame"); }
std::string NoStampsAvi() {
  return Coded("no_stamps.avi", std::string(kMpeg4) + "-g 40 -bf 2 -c:a libmp3lame");
}
std::string Mpeg2LongProgram() { return Coded("mpeg2_long.mpg", std::string(kMpeg2) + "-g 100"); }
std::string Mpeg2LongTransport() { return Coded("mpeg2_long.ts", std::string(kMpeg2) + "-g 100"); }
std::string Transport() { return Copied("h264.ts", H264Closed30(), "", ""); }
std::string LongTransport() { return Coded("long.ts", Open(100)); }
std::string Hours() { return Copied("hours.ts", LongTransport(), "", "-output_ts_offset 36000"); }
std::string Mjpeg() {
  return Coded("mjpeg.avi", "-c:v mjpeg -q:v 4 -pix_fmt yuvj420p -c:a pcm_s16le");
}
std::string ProRes() {
  return Coded("prores.mov", "-c:v prores_ks -profile:v 0 -pix_fmt yuv422p10le -c:a pcm_s16le",
               {"3"});
}
std::string VariableRate() {
  return Coded("vfr.mp4", Closed(40), {"6", "25", ",select='not(mod(n,3)*mod(floor(n/50),2))'"});
}
std::string OneFps() { return Coded("one_fps.mp4", Closed(5), {"32", "1"}); }
std::string ThirdFps() { return Coded("third_fps.mp4", Closed(4), {"40", "1/3"}); }
std::string LongHole() {
  return Coded(
      "long_hole.mkv", Closed(25),
      {"28", "25", ",select='not(between(t,2.5,25.3))'", ",aselect='not(between(t,2.5,25.3))'"});
}
std::string Ogg() {
  return Coded("pages.ogv", "-c:v libtheora -q:v 5 -g 64 -c:a libvorbis -page_duration 2000000",
               {"12"});
}
std::string Flv() { return Coded("h263.flv", "-c:v flv -q:v 4 -g 30 -ar 44100 -c:a libmp3lame"); }
std::string FlvH264() { return Copied("h264.flv", H264Closed30(), "", ""); }
std::string SoundLate() {
  return Copied("sound_late.mkv", H264Closed30(), "-itsoffset 2.2 -i " + H264Closed30(),
                "-map 1:v -map 0:a");
}
std::string SoundShort() {
  return Coded("sound_short.mp4", Closed(30), {"6", "25", "", ",atrim=end=2.6"});
}
std::string SoundLong() { return Coded("sound_long.mp4", Closed(30), {"8", "25", ",trim=end=4"}); }
std::string SoundHoles() {
  return Coded("sound_holes.mkv", Groups(30) + " -bf 2 -c:a pcm_s16le",
               {"6", "25", "", ",aselect='not(between(t,1.4,2.7)+between(t,4,4.3))'"});
}
std::string NoSound() { return Coded("no_sound.mp4", Groups(30) + " -bf 2 -an"); }
std::string PackedFloat() { return Coded("float.mov", Groups(30) + " -bf 2 -c:a pcm_f32le"); }
std::string Trimmed() {
  const std::string base = Coded("trim_base.mp4", Closed(50), {"5"});
  return Copied("trimmed.mp4", base, "-ss 1.3", "");
}
std::string DamagedEnd() { return WithoutPackets(ProRes(), "damaged_end.mov", {70, 71}); }

}  // namespace

const std::vector<WalkClip>& WalkClips() {
  static const std::vector<WalkClip> clips = {
      {"H264Closed12", H264Closed12, 12},
      {"H264Closed30", H264Closed30, 30},
      {"H264Closed250", H264Closed250, 250},
      {"H264Open12", H264Open12, 12},
      {"H264Open30", H264Open30, 30},
      {"H264Open250", H264Open250, 250},
      {"H264OneKey", H264OneKey, 150},
      {"H264Fragments", H264Fragments, 30},
      {"HevcClosed", HevcClosed, 30},
      {"HevcOpen", HevcOpen, 30},
      {"TenBit", TenBit, 30},
      {"OddSize", OddSize, 25},
      {"Vp9", Vp9, 30},
      {"Mpeg2Program", Mpeg2Program, 15},
      {"Mpeg2Transport", Mpeg2Transport, 15},
      {"Mpeg4Avi", Mpeg4Avi, 40},
      {"NoStampsAvi", NoStampsAvi, 40},
      {"Mpeg2LongProgram", Mpeg2LongProgram, 100, Landing::kStart},
      {"Mpeg2LongTransport", Mpeg2LongTransport, 100, Landing::kStart},
      {"Transport", Transport, 30},
      {"LongTransport", LongTransport, 100, Landing::kStart},
      {"Hours", Hours, 100},
      {"Mjpeg", Mjpeg, 1},
      {"ProRes", ProRes, 1},
      {"VariableRate", VariableRate, 40},
      {"OneFps", OneFps, 5},
      {"ThirdFps", ThirdFps, 4},
      {"LongHole", LongHole, 25},
      {"Ogg", Ogg, 64, Landing::kAsked, LastSound::kMisstamped},
      {"Flv", Flv, 30},
      {"FlvH264", FlvH264, 30},
      {"SoundLate", SoundLate, 30},
      {"SoundShort", SoundShort, 30},
      {"SoundLong", SoundLong, 30},
      {"SoundHoles", SoundHoles, 30},
      {"NoSound", NoSound, 30},
      {"PackedFloat", PackedFloat, 30},
      {"Trimmed", Trimmed, 50, Landing::kOpened},
      {"DamagedEnd", DamagedEnd, 1},
  };
  return clips;
}

}  // namespace codec
