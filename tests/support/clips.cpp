// SPDX-License-Identifier: MIT
#include "tests/support/clips.h"

#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

struct ClipRecipe {
  ClipKind kind;
  const char* fileName;
  int width;
  int height;
  const char* frameRate;
  const char* seconds;
  const char* layout;  // null for no sound
  int sampleRate;
  const char* coding;  // ffmpeg's words after the inputs
};

constexpr char kX264[] = "-c:v libx264 -preset veryfast -crf 16 -pix_fmt yuv420p ";

// Frame rate "vfr" stands for 25 fps with every third to fifth picture of some stretches left out.
const std::array kRecipes = {
    ClipRecipe{ClipKind::kH264, "h264.mp4", 640, 360, "25", "6", "stereo", 48000,
               "-g 25 -bf 2 -c:a aac -b:a 192k"},
    ClipRecipe{ClipKind::kH264LongGop, "h264_long_gop.mp4", 640, 360, "25", "12", "stereo", 48000,
               "-g 250 -keyint_min 250 -sc_threshold 0 -bf 2 -c:a aac -b:a 192k"},
    ClipRecipe{ClipKind::kH264Short, "h264_short.mp4", 640, 360, "25", "3", "stereo", 48000,
               "-g 25 -keyint_min 25 -sc_threshold 0 -bf 0 -c:a aac -b:a 192k"},
    ClipRecipe{ClipKind::kH264NoAudio, "h264_no_audio.mp4", 640, 360, "25", "5", nullptr, 0,
               "-g 50 -bf 2"},
    ClipRecipe{
        ClipKind::kVp9, "vp9.webm", 640, 360, "30", "4", "stereo", 48000,
        "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 3M -g 60 -c:a libopus -b:a 192k"},
    ClipRecipe{ClipKind::kHevc10, "hevc10.mp4", 640, 360, "25", "4", "stereo", 48000,
               "-c:v libx265 -preset ultrafast -crf 16 -pix_fmt yuv420p10le -tag:v hvc1 "
               "-x265-params log-level=error:keyint=50 -c:a aac -b:a 192k"},
    ClipRecipe{ClipKind::kMpeg4Avi, "mpeg4.avi", 640, 360, "25", "5", "stereo", 48000,
               "-c:v mpeg4 -q:v 2 -bf 2 -g 50 -c:a libmp3lame -b:a 192k"},
    ClipRecipe{ClipKind::kTransport, "transport.ts", 640, 360, "25", "6", "stereo", 48000,
               "-g 50 -bf 2 -c:a aac -b:a 192k -output_ts_offset 10"},
    ClipRecipe{ClipKind::kVariableRate, "variable_rate.mp4", 640, 360, "vfr", "6", "stereo", 48000,
               "-g 50 -bf 2 -c:a aac -b:a 192k"},
    ClipRecipe{ClipKind::kRotated, "rotated.mp4", 640, 360, "25", "3", "stereo", 48000,
               "-g 25 -c:a aac -b:a 192k"},
    ClipRecipe{ClipKind::kMono, "mono.mp4", 640, 360, "25", "4", "mono", 44100,
               "-g 50 -c:a aac -b:a 128k"},
    ClipRecipe{ClipKind::kSurround, "surround.mp4", 640, 360, "25", "4", "5.1", 48000,
               "-g 50 -c:a aac -b:a 448k"},
    ClipRecipe{ClipKind::kTiny, "tiny.mp4", 32, 32, "25", "3", "stereo", 48000,
               "-g 25 -c:a aac -b:a 128k"},
    ClipRecipe{ClipKind::kSixtyFps, "sixty_fps.mp4", 640, 360, "60", "3", "stereo", 48000,
               "-g 60 -c:a aac -b:a 192k"},
    ClipRecipe{ClipKind::kNtsc, "ntsc.mp4", 640, 360, "30000/1001", "4", "stereo", 48000,
               "-g 30 -bf 2 -c:a aac -b:a 192k"},
    ClipRecipe{ClipKind::kPcmFloat, "pcm_float.mov", 640, 360, "25", "3", "stereo", 48000,
               "-g 25 -c:a pcm_f32le"},
    ClipRecipe{ClipKind::kAudioOnly, "audio_only.m4a", 0, 0, "", "3", "stereo", 48000,
               "-c:a aac -b:a 128k"},
};

const ClipRecipe& RecipeOf(ClipKind kind) {
  for (const ClipRecipe& recipe : kRecipes) {
    if (recipe.kind == kind) return recipe;
  }
  throw std::runtime_error("no such clip kind");
}

std::vector<std::string> ArgumentsFor(const ClipRecipe& recipe) {
  std::vector<std::string> words;
  const bool hasVideo = recipe.width > 0;
  const bool variable = std::string(recipe.frameRate) == "vfr";
  if (hasVideo) {
    std::string scene =
        SceneFilter(recipe.width, recipe.height, variable ? "25" : recipe.frameRate);
    if (variable) scene += ",select='not(mod(n,3)*mod(floor(n/50),2))'";
    words.insert(words.end(), {"-f", "lavfi", "-i", scene});
  }
  if (recipe.layout != nullptr) {
    words.insert(words.end(), {"-f", "lavfi", "-i", SweepFilter(recipe.sampleRate, recipe.layout)});
  }
  words.insert(words.end(), {"-t", recipe.seconds});
  if (variable) words.insert(words.end(), {FrameTimingOption(), "vfr"});
  const std::string coding = recipe.coding;
  if (hasVideo && coding.find("-c:v") == std::string::npos) AppendWords(kX264, &words);
  AppendWords(coding, &words);
  return words;
}

std::string AllBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

std::string SceneFilter(int width, int height, const std::string& frameRate) {
  std::ostringstream filter;
  filter << "testsrc2=size=" << width << "x" << height << ":rate=" << frameRate;
  if (width < kNumberBits * kNumberCell) return filter.str();
  filter << ",drawbox=x=0:y=0:w=iw:h=" << kNumberCell << ":color=black:t=fill";
  for (int bit = 0; bit < kNumberBits; ++bit) {
    filter << ",drawbox=x=" << bit * kNumberCell << ":y=0:w=" << kNumberCell << ":h=" << kNumberCell
           << ":color=white:t=fill:enable='mod(floor(n/" << (1 << bit) << "),2)'";
  }
  return filter.str();
}

std::string SweepFilter(int sampleRate, const std::string& layout) {
  // Two tones that glide at different speeds: no stretch of a few tenths of a second repeats.
  const std::string left = "0.25*sin(2*PI*(220*t+45*t*t))+0.2*sin(2*PI*(1500*t-37*t*t))";
  const std::string right = "0.25*sin(2*PI*(330*t+25*t*t))+0.2*sin(2*PI*(900*t+61*t*t))";
  std::string channels = layout == "mono" ? left : left + "|" + right;
  if (layout == "5.1") {
    channels +=
        "|0.2*sin(2*PI*(500*t+11*t*t))|0.05*sin(2*PI*60*t)|0.1*sin(2*PI*700*t)|"
        "0.1*sin(2*PI*800*t)";
  }
  return "aevalsrc=" + channels + ":s=" + std::to_string(sampleRate) + ":c=" + layout;
}

std::string CustomClip(const std::string& name, const std::vector<std::string>& ffmpegArguments) {
  const fs::path directory = CLIPREVERSE_CLIP_DIR;
  fs::create_directories(directory);
  const fs::path path = directory / name;
  if (fs::exists(path)) return path.string();
  // Made under another name and moved, so that no other process sees half a clip.
  const fs::path unfinished = directory / (std::to_string(getpid()) + "-" + name);
  std::vector<std::string> command = {"ffmpeg", "-v", "error", "-y"};
  command.insert(command.end(), ffmpegArguments.begin(), ffmpegArguments.end());
  command.push_back(unfinished.string());
  const CommandResult result = Run(command);
  if (result.status != 0) {
    fs::remove(unfinished);
    throw std::runtime_error("cannot make " + name + ": " + result.err);
  }
  fs::rename(unfinished, path);
  return path.string();
}

std::string Clip(ClipKind kind) {
  const ClipRecipe& recipe = RecipeOf(kind);
  const std::string path = CustomClip(recipe.fileName, ArgumentsFor(recipe));
  return kind == ClipKind::kRotated ? TurnedCopy(path, "rotated_90.mp4", recipe.height) : path;
}

std::string TurnedCopy(const std::string& straight, const std::string& name, int storedHeight) {
  return MatrixCopy(straight, name,
                    {0, 1 << 16, 0, -(1 << 16), 0, 0, storedHeight << 16, 0, 1 << 30});
}

// Done in the bytes of the track header, because not every release of ffmpeg can write a matrix.
std::string MatrixCopy(const std::string& straight, const std::string& name,
                       const std::array<int32_t, 9>& matrix) {
  const fs::path directory = CLIPREVERSE_CLIP_DIR;
  fs::create_directories(directory);
  const fs::path path = directory / name;
  if (fs::exists(path)) return path.string();
  std::string bytes = AllBytes(straight);
  const size_t header = bytes.find("tkhd");
  if (header == std::string::npos) throw std::runtime_error("no track header in " + straight);
  constexpr size_t kMatrixOffset = 44;
  for (size_t i = 0; i < matrix.size() * 4; ++i) {
    const auto word = static_cast<uint32_t>(matrix[i / 4]);
    bytes[header + kMatrixOffset + i] = static_cast<char>(word >> (24 - 8 * (i % 4)));
  }
  const fs::path unfinished = path.string() + "." + std::to_string(getpid());
  std::ofstream(unfinished, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
  fs::rename(unfinished, path);
  return path.string();
}

std::string LongStillClip() {
  return CustomClip("long_still.mp4", {"-f", "lavfi", "-i", "color=size=64x64:rate=25", "-t", "600",
                                       "-c:v", "libx264", "-preset", "ultrafast"});
}

std::string SampleClip() { return CLIPREVERSE_SAMPLE; }

std::string TurnedSampleClip() {
  constexpr int kSampleHeight = 360;
  return TurnedCopy(SampleClip(), "turned_sample.mp4", kSampleHeight);
}

std::string ReplacedCopy(const std::string& clip, const std::string& from, const std::string& to,
                         const std::string& name) {
  std::string bytes = AllBytes(clip);
  for (size_t at = 0; (at = bytes.find(from, at)) != std::string::npos;) {
    bytes.replace(at, from.size(), to);
  }
  const std::string path = ScratchPath(name);
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

const std::vector<ClipKind>& VideoClipKinds() {
  static const std::vector<ClipKind> kinds = [] {
    std::vector<ClipKind> all;
    for (const ClipRecipe& recipe : kRecipes) {
      if (recipe.width > 0) all.push_back(recipe.kind);
    }
    return all;
  }();
  return kinds;
}

std::string ClipName(ClipKind kind) { return fs::path(RecipeOf(kind).fileName).stem().string(); }

}  // namespace test_support
