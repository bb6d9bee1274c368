// SPDX-License-Identifier: MIT
#include "tests/robustness/corpus.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/robustness/crafted.h"
#include "tests/robustness/recipe.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

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
    Recipe{"robust_negative.ts",
           "{v} {a} -t 3 {x264} -g 12 -c:a aac -output_ts_offset -5 -avoid_negative_ts disabled"},
    Recipe{"robust_negative.flv",
           "{v} {a} -t 3 {x264} -g 12 -c:a aac -output_ts_offset -5 -avoid_negative_ts disabled"},
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
    // The packet of sound that jumps is alone in its block, so that a seek lands on the one before.
    Recipe{"robust_sound_jump_100h.wmv",
           "{b}:duration=1 {s}:duration=1 -c:v wmv2 -c:a wmav2 -packet_size 800 -af "
           "asetnsamples=512,asetpts=if(gt(T\\,0.967)\\,PTS+360000*SR\\,PTS)"},
    Recipe{"robust_cover.m4a",
           "{a} -f lavfi -i color=c=red:size=160x90:rate=1:duration=1 -t 2 -c:v mjpeg -pix_fmt "
           "yuvj420p "
           "-disposition:v attached_pic -c:a aac -f ipod"},
    Recipe{"robust_cover.mp3",
           "{a} -f lavfi -i color=c=red:size=160x90 -t 2 -frames:v 1 -c:v mjpeg -pix_fmt yuvj420p "
           "-id3v2_version 3 -disposition:v attached_pic -c:a libmp3lame"},
    Recipe{"robust_cover.flac",
           "{a} -f lavfi -i color=c=red:size=160x90:rate=1:duration=1 -t 2 -c:v mjpeg -pix_fmt "
           "yuvj420p -disposition:v attached_pic -c:a flac"},
    Recipe{"robust_still.png", "{v} -frames:v 1"},
    Recipe{"robust_still.jpg", "{v} -frames:v 1 -pix_fmt yuvj420p"},
    Recipe{"robust_animated.gif", "{v} -frames:v 20"},
    Recipe{"robust_sound_only.wav", "{a} -t 2"},
    Recipe{"robust_one_picture.mp4", "{v} -frames:v 1 {x264}"},
    Recipe{"robust_fragments.mp4",
           "{v} {a} -t 4 {x264} -g 12 -c:a aac -movflags frag_keyframe+empty_moov"},
    Recipe{"robust_sound_44100.ts", "{v} {a} -t 1.2 {x264} -g 12 -c:a aac -ar 44100 -ac 1"},
    Recipe{"robust_wider.ts", "{v} {a} -t 1.2 -s 320x240 {x264} -g 12 -c:a mp2"},
    Recipe{"robust_long_gop.ts", "{v} {a} -t 4 {x264} -g 250 -bf 2 -c:a aac"},
};

// Older releases of ffmpeg cannot change the stamps of packets.
bool CanBeMade(const Recipe& recipe) {
  static const bool changesStamps =
      Run({"ffmpeg", "-v", "error", "-bsfs"}).out.find("setts") != std::string::npos;
  return changesStamps || std::strstr(recipe.words, "setts=") == nullptr;
}

std::string ByName(const std::string& name) {
  for (const Recipe& recipe : kHostile) {
    if (name == recipe.name) return MakeClip(recipe);
  }
  for (const Recipe& recipe : kBase) {
    if (name == recipe.name) return MakeClip(recipe);
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

// Files whose headers lie about rates and durations.
struct Lie {
  const char* name;
  const char* clip;
  std::string mark;  // the bytes before the field
  size_t offset;     // from behind the mark
  int bytes;
  uint64_t value;
  Order order;
};

std::vector<SandboxCase> Lies() {
  constexpr uint64_t kMost = 0xffffffff;
  constexpr uint64_t kNan = 0x7ff8000000000000;
  constexpr uint64_t kHuge = 0x7e37e43c8800759c;  // 1e300
  constexpr uint64_t kMinusOne = 0xbff0000000000000;
  const std::string duration = "\x44\x89\x88";
  const std::vector<Lie> lies = {
      {"scale 0", "robust_mjpeg.avi", "vidsMJPG", 12, 4, 0, Order::kLittleEndian},
      {"scale 2^32", "robust_mjpeg.avi", "vidsMJPG", 12, 4, kMost, Order::kLittleEndian},
      {"rate 0", "robust_mjpeg.avi", "vidsMJPG", 16, 4, 0, Order::kLittleEndian},
      {"rate 2^32", "robust_mjpeg.avi", "vidsMJPG", 16, 4, kMost, Order::kLittleEndian},
      {"length 2^32", "robust_mjpeg.avi", "vidsMJPG", 24, 4, kMost, Order::kLittleEndian},
      {"movie scale 0", "robust_h264.mp4", "mvhd", 12, 4, 0, Order::kBigEndian},
      {"movie scale 1", "robust_h264.mp4", "mvhd", 12, 4, 1, Order::kBigEndian},
      {"movie 2^32 long", "robust_h264.mp4", "mvhd", 16, 4, kMost, Order::kBigEndian},
      {"track scale 0", "robust_h264.mp4", "mdhd", 12, 4, 0, Order::kBigEndian},
      {"track scale 1", "robust_h264.mp4", "mdhd", 12, 4, 1, Order::kBigEndian},
      {"track scale 2^32", "robust_h264.mp4", "mdhd", 12, 4, kMost, Order::kBigEndian},
      {"track 0 long", "robust_h264.mp4", "mdhd", 16, 4, 0, Order::kBigEndian},
      {"pictures 2^32 long", "robust_h264.mp4", "stts", 12, 4, kMost, Order::kBigEndian},
      {"pictures 0 long", "robust_h264.mp4", "stts", 12, 4, 0, Order::kBigEndian},
      {"duration nan", "robust_hevc10.mkv", duration, 0, 8, kNan, Order::kBigEndian},
      {"duration 1e300", "robust_hevc10.mkv", duration, 0, 8, kHuge, Order::kBigEndian},
      {"duration -1", "robust_hevc10.mkv", duration, 0, 8, kMinusOne, Order::kBigEndian},
  };
  std::vector<SandboxCase> cases;
  for (const Lie& lie : lies) {
    const std::string path = ByName(lie.clip);
    cases.push_back(Bytes(std::string(lie.clip) + " " + lie.name,
                          std::filesystem::path(lie.clip).extension().string(), [lie, path] {
                            return WithField(ReadBytes(path), lie.mark, lie.offset, lie.bytes,
                                             lie.value, lie.order);
                          }));
  }
  return cases;
}

// Pictures whose header asks for 16384x16384.
std::vector<SandboxCase> HugePictures() {
  const std::string png = ByName("robust_still.png");
  const std::string jpeg = ByName("robust_still.jpg");
  return {Bytes("16384x16384", ".png",
                [png] {
                  return WithField(ReadBytes(png), "IHDR", 0, 8, 0x0000400000004000,
                                   Order::kBigEndian);
                }),
          Bytes("16384x16384", ".jpg", [jpeg] {
            const std::string frameHeader("\xff\xc0\0\x11\x08", 5);
            return WithField(ReadBytes(jpeg), frameHeader, 0, 4, 0x40004000, Order::kBigEndian);
          })};
}

std::vector<SandboxCase> ManyStreams() {
  const std::string clip = ByName("robust_one_picture.mp4");
  std::vector<SandboxCase> cases;
  for (const int count : {900, 65535}) {
    const std::string title = std::to_string(count) + " streams";
    cases.push_back(Bytes(title, ".avi", [count] { return AviOfManyStreams(count); }));
    cases.push_back(
        Bytes(title, ".mp4", [clip, count] { return Mp4OfManyTracks(ReadBytes(clip), count); }));
    const int inTransport = std::min(count, 8000);
    cases.push_back(Bytes(std::to_string(inTransport) + " streams", ".ts",
                          [inTransport] { return TransportOfManyStreams(inTransport); }));
  }
  // FFmpeg opens a decoder for each to find out what it is, up to the thousand that it takes at
  // all.
  for (SandboxCase& one : cases) one.limits.peakMegabytes = 2048;
  return cases;
}

SandboxCase PipeWithoutWriter() {
  SandboxCase one;
  one.name = "pipe without writer";
  one.input = [](const std::string& scratch) {
    const std::string path = scratch + "-in.mp4";
    if (mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("no pipe");
    return path;
  };
  return one;
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
  for (const Recipe& recipe : kBase) paths.push_back(MakeClip(recipe));
  return paths;
}

std::vector<SandboxCase> HostileCases() {
  std::vector<SandboxCase> cases;
  for (const Recipe& recipe : kHostile) {
    if (!CanBeMade(recipe)) continue;
    SandboxCase one = File(recipe.name, MakeClip(recipe));
    if (one.name.rfind("robust_large", 0) == 0) one.limits.peakMegabytes = 6144;
    cases.push_back(std::move(one));
  }
  for (const auto& make : {&Lies, &HugePictures, &ManyStreams}) {
    std::vector<SandboxCase> more = make();
    std::move(more.begin(), more.end(), std::back_inserter(cases));
  }
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
  cases.push_back(Bytes("empty", ".mp4", [] { return std::string(); }));
  cases.push_back(Bytes("zeros", ".ts", [] { return std::string(100000, '\0'); }));
  cases.push_back(File("directory", "/"));
  cases.push_back(File("absent", "/no/such/file.mp4"));
  cases.push_back(File("device", "/dev/null"));
  cases.push_back(PipeWithoutWriter());
  return cases;
}

}  // namespace test_support
