#include "tests/robustness/corpus.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

struct Recipe {
  const char* name;
  const char* words;  // for ffmpeg; words in braces stand for the generated inputs
};

constexpr char kScene[] = "testsrc2=size=160x90:rate=25";
constexpr char kX264[] = "-c:v libx264 -preset ultrafast -pix_fmt yuv420p";

// Few pictures and few samples, because most of a run is spent on encoding them; but more than a
// second, for a second step, and more than one group of pictures.
constexpr std::array kBase = {
    Recipe{"robust_h264.mp4", "{b} {s} -t 1.2 {x264} -g 6 -bf 2 -c:a aac -movflags +faststart"},
    Recipe{"robust_hevc10.mkv",
           "{b} {s} -t 1.2 -c:v libx265 -preset ultrafast -pix_fmt yuv420p10le -x265-params "
           "log-level=error:keyint=6:open-gop=1 -c:a aac"},
    Recipe{"robust_vp9.webm",
           "{b} {s} -t 1.2 -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -g 6 -c:a libopus"},
    Recipe{"robust_mpeg4.avi", "{b} {s} -t 1.2 -c:v mpeg4 -g 6 -bf 2 -c:a libmp3lame"},
    Recipe{"robust_h264.ts", "{b} {s} -t 1.2 {x264} -g 6 -bf 2 -c:a aac"},
    Recipe{"robust_flv1.flv", "{b} {s} -t 1.2 -c:v flv1 -g 6 -ar 11025 -c:a libmp3lame"},
    Recipe{"robust_prores.mov",
           "{b} {s} -t 1.2 -c:v prores -pix_fmt yuv422p10le -c:a pcm_s16le -movflags +faststart"},
    Recipe{"robust_theora.ogg", "{b} {s} -t 1.2 -c:v libtheora -g 6 -c:a libvorbis"},
    Recipe{"robust_wmv2.wmv", "{b} {s} -t 1.2 -c:v wmv2 -g 6 -c:a wmav2"},
    Recipe{"robust_mjpeg.avi", "{b} {s} -t 1.2 -c:v mjpeg -pix_fmt yuvj420p -c:a pcm_u8"},
    Recipe{"robust_mpeg2.mpg", "{v} {s} -t 1.2 -c:v mpeg2video -g 12 -bf 2 -c:a mp2"},
};

// Every one of them is a file that somebody could hand to the program.
constexpr std::array kHostile = {
    Recipe{"robust_large.avi",
           "-f lavfi -i color=c=gray:size=16384x8192:rate=25 -frames:v 1 -c:v mjpeg -pix_fmt "
           "yuvj420p"},
    Recipe{"robust_narrow.mkv",
           "-f lavfi -i color=c=gray:size=2x16384:rate=25 -frames:v 10 -c:v ffv1 -level 1"},
    Recipe{"robust_rate_high.mkv",
           "-f lavfi -i testsrc2=size=160x90:rate=90000 -frames:v 200 {x264}"},
    Recipe{"robust_rate_low.mp4",
           "{v} -frames:v 8 -vf setpts=N*1000/TB {timing} passthrough {x264} -bf 0"},
    Recipe{"robust_rate_odd.mov",
           "{v} -frames:v 20 -r 1000000/999983 {x264} -video_track_timescale 1000000"},
    Recipe{"robust_negative.mkv",
           "-itsoffset -5 {v} -itsoffset -5 {a} -t 3 {x264} -g 12 -c:a aac -copyts "
           "-avoid_negative_ts disabled"},
    Recipe{"robust_negative.mp4",
           "{v} {a} -t 3 {x264} -g 12 -c:a aac -bsf:v setts=ts=TS-90000 "
           "-avoid_negative_ts disabled"},
    Recipe{"robust_hours.ts", "{v} {a} -t 3 {x264} -g 12 -c:a aac -output_ts_offset 36000"},
    Recipe{"robust_wrap.ts", "{v} {a} -t 6 {x264} -g 12 -c:a aac -output_ts_offset 95440"},
    Recipe{"robust_jump_100h.ts",
           "{v} {a} -t 3 {x264} -g 12 -bf 0 -c:a aac -bsf:v "
           "setts=ts=if(gt(N\\,30)\\,TS+1000000000\\,TS)"},
    Recipe{"robust_jump_100h.mkv",
           "{v} {a} -t 3 {x264} -g 12 -bf 0 -c:a aac -bsf:v "
           "setts=ts=if(gt(N\\,30)\\,TS+360000000\\,TS)"},
    Recipe{"robust_jump_100h.mp4",
           "{v} {a} -t 3 {x264} -g 12 -bf 0 -c:a aac -video_track_timescale 1000 -bsf:v "
           "setts=ts=if(gt(N\\,30)\\,TS+360000000\\,TS)"},
    Recipe{"robust_jump_back.mkv",
           "{v} {a} -t 3 {x264} -g 12 -bf 0 -c:a aac -bsf:v "
           "setts=pts=if(gt(N\\,30)\\,PTS-1000\\,PTS)"},
    Recipe{"robust_frozen.mkv", "{v} {a} -t 3 {x264} -g 12 -bf 0 -c:a aac -bsf:v setts=pts=0"},
    Recipe{"robust_stampless.h264", "{v} -t 3 {x264} -g 12"},
    Recipe{"robust_late_sound.mp4", "{v} -itsoffset 2 {a} -t 3 {x264} -g 12 -c:a aac"},
    Recipe{"robust_early_end.mp4", "{v} {a1} -t 6 {x264} -g 12 -c:a aac"},
    Recipe{"robust_early_end.mkv", "{v} {a1} -t 6 {x264} -g 12 -c:a libmp3lame"},
    Recipe{"robust_early_end.ts", "{v} {a1} -t 6 {x264} -g 12 -c:a aac"},
    Recipe{"robust_holes.mkv",
           "{v} {a} -t 8 -af aselect=not(between(t\\,1.5\\,6)) {x264} -g 12 -c:a aac"},
    Recipe{"robust_long_sound.mp4", "{v1} {a} -t 20 {x264} -g 12 -c:a aac"},
    Recipe{"robust_long_sound.mkv", "{v1} {a} -t 20 {x264} -g 12 -c:a libopus"},
    Recipe{"robust_long_sound.ts", "{v1} {a} -t 20 {x264} -g 12 -c:a aac"},
    Recipe{"robust_long_sound.avi", "{v1} {a} -t 20 -c:v mpeg4 -g 12 -c:a libmp3lame"},
    Recipe{"robust_cover.m4a",
           "{a} -f lavfi -i color=c=red:size=160x90 -t 2 -frames:v 1 -c:v mjpeg -pix_fmt yuvj420p "
           "-disposition:v attached_pic -c:a aac -f ipod"},
    Recipe{"robust_cover.mp3",
           "{a} -f lavfi -i color=c=red:size=160x90 -t 2 -frames:v 1 -c:v mjpeg -pix_fmt yuvj420p "
           "-id3v2_version 3 -disposition:v attached_pic -c:a libmp3lame"},
    Recipe{"robust_still.png", "{v} -frames:v 1"},
    Recipe{"robust_animated.gif", "{v} -frames:v 20"},
    Recipe{"robust_sound_only.wav", "{a} -t 2"},
    Recipe{"robust_one_picture.mp4", "{v} -frames:v 1 {x264}"},
    Recipe{"robust_fragments.mp4",
           "{v} {a} -t 4 {x264} -g 12 -c:a aac -movflags frag_keyframe+empty_moov"},
    Recipe{"robust_sound_44100.ts", "{v} {a} -t 1.2 {x264} -g 12 -c:a aac -ar 44100 -ac 1"},
    Recipe{"robust_wider.ts", "{v} {a} -t 1.2 -s 320x240 {x264} -g 12 -c:a mp2"},
    Recipe{"robust_long_gop.ts", "{v} {a} -t 4 {x264} -g 250 -bf 2 -c:a aac"},
};

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
  for (size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

std::string Make(const Recipe& recipe) {
  std::string text = recipe.words;
  const std::string scene = std::string("-f lavfi -i ") + kScene;
  text = Replaced(text, "{v}", scene);
  text = Replaced(text, "{b}", "-f lavfi -i testsrc2=size=160x90:rate=15");
  text = Replaced(text, "{v1}", scene + ":duration=2");
  text = Replaced(text, "{a}", "-f lavfi -i sine=frequency=440:sample_rate=48000");
  text = Replaced(text, "{s}", "-f lavfi -i sine=frequency=440:sample_rate=16000");
  text = Replaced(text, "{a1}", "-f lavfi -i sine=frequency=440:sample_rate=48000:duration=1");
  text = Replaced(text, "{x264}", kX264);
  text = Replaced(text, "{timing}", FrameTimingOption());
  std::istringstream stream(text);
  const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
  return CustomClip(recipe.name, words);
}

// Older releases of ffmpeg cannot change the stamps of packets.
bool CanBeMade(const Recipe& recipe) {
  static const bool changesStamps =
      Run({"ffmpeg", "-v", "error", "-bsfs"}).out.find("setts") != std::string::npos;
  return changesStamps || std::strstr(recipe.words, "setts=") == nullptr;
}

std::string ByName(const std::string& name) {
  for (const Recipe& recipe : kHostile) {
    if (name == recipe.name) return Make(recipe);
  }
  for (const Recipe& recipe : kBase) {
    if (name == recipe.name) return Make(recipe);
  }
  throw std::runtime_error("no recipe for " + name);
}

SandboxCase File(const std::string& name, const std::string& path) {
  SandboxCase one;
  one.name = name;
  one.input = [path](const std::string& /*scratch*/) { return path; };
  return one;
}

// An input that is put together from bytes when it is needed.
SandboxCase Bytes(const std::string& name, const std::string& suffix,
                  std::function<std::string()> make) {
  SandboxCase one;
  one.name = name;
  one.input = [suffix, make = std::move(make)](const std::string& scratch) {
    const std::string path = scratch + "-in" + suffix;
    WriteBytes(path, make());
    return path;
  };
  return one;
}

SandboxCase Joined(const std::vector<std::string>& names, const std::string& title) {
  std::vector<std::string> paths;
  for (const std::string& name : names) paths.push_back(ByName(name));
  return Bytes(title, ".ts", [paths] {
    std::string bytes;
    for (const std::string& path : paths) bytes += ReadBytes(path);
    return bytes;
  });
}

// A RIFF header that promises this many streams, none of which has a packet.
std::string ManyStreams(int count) {
  const auto number = [](uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text.push_back(static_cast<char>(value >> (8 * i)));
    return text;
  };
  const auto chunk = [&number](const std::string& id, const std::string& body) {
    return id + number(static_cast<uint32_t>(body.size()), 4) + body;
  };
  std::string avih = number(40000, 4) + std::string(20, '\0') +
                     number(static_cast<uint32_t>(count), 4) + number(0, 4) + number(160, 4) +
                     number(90, 4) + std::string(16, '\0');
  std::string header = "hdrl" + chunk("avih", avih);
  const std::string strh = "vidsMJPG" + std::string(12, '\0') + number(1, 4) + number(25, 4) +
                           std::string(4, '\0') + number(25, 4) + std::string(20, '\0');
  const std::string strf = number(40, 4) + number(160, 4) + number(90, 4) + number(1, 2) +
                           number(24, 2) + "MJPG" + std::string(20, '\0');
  const std::string one = chunk("LIST", "strl" + chunk("strh", strh) + chunk("strf", strf));
  for (int i = 0; i < count; ++i) header += one;
  return "RIFF" + number(0x7fffffff, 4) + "AVI " + chunk("LIST", header) +
         chunk("LIST", "movi" + chunk("00dc", std::string(16, '\0')));
}

}  // namespace

std::string ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
}

std::vector<std::string> BaseClips() {
  std::vector<std::string> paths;
  for (const Recipe& recipe : kBase) paths.push_back(Make(recipe));
  return paths;
}

std::vector<SandboxCase> HostileCases() {
  std::vector<SandboxCase> cases;
  for (const Recipe& recipe : kHostile) {
    if (!CanBeMade(recipe)) continue;
    SandboxCase one = File(recipe.name, Make(recipe));
    if (one.name.rfind("robust_large", 0) == 0) one.limits.peakMegabytes = 6144;
    cases.push_back(std::move(one));
  }
  const std::string still = ByName("robust_still.png");
  cases.push_back(Bytes("16384x16384", ".png", [still] {
    std::string bytes = ReadBytes(still);
    constexpr size_t kWidth = 16;
    bytes.replace(kWidth, 8, std::string("\0\0\x40\0\0\0\x40\0", 8));
    return bytes;
  }));
  const std::string transport = ByName("robust_long_gop.ts");
  cases.push_back(Bytes("no key frame at the start", ".ts", [transport] {
    const std::string bytes = ReadBytes(transport);
    return bytes.substr(0, 3 * 188) + bytes.substr(bytes.size() / 188 / 2 * 188);
  }));
  cases.push_back(Joined({"robust_h264.ts", "robust_wider.ts", "robust_sound_44100.ts",
                          "robust_mpeg2.mpg", "robust_h264.ts"},
                         "size and sound change"));
  cases.push_back(Joined({"robust_hours.ts", "robust_h264.ts"}, "hours back"));
  cases.push_back(Joined({"robust_h264.ts", "robust_hours.ts"}, "hours ahead"));
  cases.push_back(Bytes("65535 streams", ".avi", [] { return ManyStreams(65535); }));
  cases.push_back(Bytes("900 streams", ".avi", [] { return ManyStreams(900); }));
  cases.push_back(Bytes("empty", ".mp4", [] { return std::string(); }));
  cases.push_back(Bytes("zeros", ".ts", [] { return std::string(100000, '\0'); }));
  cases.push_back(File("directory", "/"));
  cases.push_back(File("absent", "/no/such/file.mp4"));
  cases.push_back(File("device", "/dev/null"));
  return cases;
}

}  // namespace test_support
