// SPDX-License-Identifier: MIT
#include "app/output_keys.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

#include "app/nearest.h"

namespace app {
namespace {

constexpr int64_t kMostPixels = 16384;
constexpr int64_t kMostBits = std::numeric_limits<int32_t>::max();
constexpr char kPresets[] =
    "ultrafast superfast veryfast faster fast medium slow slower veryslow placebo";
constexpr char kTurns[] = "0 90 180 270";

OutputKey Text(const char* name, const char* sentence) {
  return {name, false, KeyType::kText, 0, 0, "", "", "", sentence};
}

OutputKey Int(const char* name, const char* unit, const char* sentence) {
  return {name, false, KeyType::kInt, 0, kMostBits, unit, "", "", sentence};
}

OutputKey Double(const char* name, const char* unit, const char* sentence) {
  return {name, false, KeyType::kDouble, 0, 0, unit, "", "", sentence};
}

OutputKey Flag(const char* name, const char* sentence) {
  return {name, false, KeyType::kFlag, 0, 0, "", "", "", sentence};
}

// One line a key, in the order in which they are shown: first those of --set, then the others.
std::vector<OutputKey> MakeKeys() {
  using T = KeyType;
  return {
      // name, settable, type, lowest, highest, unit, choices, needs, sentence
      {"target-width", true, T::kEven, 2, kMostPixels, "pixels", "", "target-height",
       "width of the output's pictures, if another than that of the clip"},
      {"target-height", true, T::kEven, 2, kMostPixels, "pixels", "", "target-width",
       "height of the output's pictures, if another than that of the clip"},
      {"rotation", true, T::kChoice, 0, 0, "degrees", kTurns, "target-width",
       "turns the pictures themselves clockwise, only together with another size"},
      {"rotate", true, T::kChoice, 0, 0, "degrees", kTurns, "",
       "asks players to turn the pictures clockwise, in `.mp4` and `.mov`; a reversal asks what "
       "the clip asks"},
      {"sample_aspect_num", true, T::kInt, 1, 65535, "", "", "sample_aspect_den",
       "shape of a pixel, width: its width to its height is as this number to the next one"},
      {"sample_aspect_den", true, T::kInt, 1, 65535, "", "", "sample_aspect_num",
       "shape of a pixel, height"},
      {"video-codec", true, T::kText, 0, 0, "", "", "",
       "FFmpeg's name of the video encoder: `libx264` (unless set), `libx265`, `prores_ks`, ..."},
      {"audio-codec", true, T::kText, 0, 0, "", "", "",
       "FFmpeg's name of the sound's encoder: `aac` (unless set), `libopus`, `flac`, ..."},
      {"crf", true, T::kText, 0, 0, "", "", "",
       "constant quality by the video encoder's own scale, lower is better; instead of "
       "`video-bitrate`"},
      {"qp", true, T::kText, 0, 0, "", "", "",
       "the same for encoders without `crf`: how coarse pictures are, lower is better"},
      {"preset", true, T::kPreset, 0, 0, "", kPresets, "",
       "how much time the video encoder takes for a smaller file, or a number for encoders that "
       "count; `superfast` in a usual reversal, else the encoder's own"},
      {"profile", true, T::kText, 0, 0, "", "", "",
       "the video encoder's profile: `high10`, `main10`, `dnxhr_hqx`; the encoder chooses unless "
       "set, a usual reversal is `baseline`"},
      {"level", true, T::kText, 0, 0, "", "", "",
       "the video encoder's level: `4.1`; the encoder chooses unless set"},
      {"video-opt:NAME", true, T::kText, 0, 0, "", "", "",
       "any option of the video encoder by FFmpeg's name: `video-opt:tune=film`"},
      {"audio-opt:NAME", true, T::kText, 0, 0, "", "", "", "the same of the sound's encoder"},
      {"output-color-format", true, T::kText, 0, 0, "", "", "",
       "FFmpeg's name of the pixel format that is written: `yuv420p`; with a `video-codec`, the "
       "nearest to the clip's that it takes"},
      {"video-bitrate", true, T::kInt, 0, kMostBits, "bit/s", "", "",
       "bit rate of the pictures, 0 for none; a usual reversal goes by their size and rate, other "
       "encoders by quality"},
      {"maxrate", true, T::kInt, 1000, kMostBits, "bit/s", "", "",
       "highest bit rate of the pictures; as `video-bitrate` in a reversal"},
      {"bufsize", true, T::kInt, 1000, kMostBits, "bits", "", "",
       "over how many bits `maxrate` is kept; five times `video-bitrate` in a reversal"},
      {"gop", true, T::kInt, 1, 1000000, "pictures", "", "",
       "from key frame to key frame; a second of them in a reversal"},
      {"thread-count", true, T::kInt, 0, 128, "", "", "",
       "threads of the video encoder; 0 has the encoder choose"},
      {"thread-type", true, T::kChoice, 0, 0, "", "frame slice", "",
       "whether these threads share pictures, or each has its own"},
      {"use-thread", true, T::kFlag, 0, 0, "", "", "",
       "1 encodes on a thread of its own, 0 (unless set) on the one that gives the frames"},
      {"audio-bit-rate", true, T::kInt, 8000, 512000, "bit/s", "", "",
       "bit rate of the sound; a reversal takes that of the clip, 384000 if this is below 128000"},
      {"audio-channels", true, T::kChoice, 0, 0, "", "source 1 2 3 4 5 6 7 8", "",
       "`source` keeps the channels of the clip's sound as far as the encoder takes them, a number "
       "mixes to so many; 2 unless set"},
      {"has-water-mark", true, T::kFlag, 0, 0, "", "", "logo-path",
       "1 stamps a logo on pictures in `bgra` or `rgba`; not together with another size"},
      {"logo-path", true, T::kFile, 0, 0, "", "", "water-mark-pos",
       "a PNG file of three samples a pixel, whose top left pixel is its black"},
      {"water-mark-pos", true, T::kInt, 1, 4, "", "", "has-water-mark",
       "the corner of the logo, clockwise from top left"},
      {"water-mark-gap", true, T::kInt, 0, kMostPixels, "pixels", "", "has-water-mark",
       "between the logo and the edges"},
      {"water-mark-rotation", true, T::kChoice, 0, 0, "degrees", kTurns, "has-water-mark",
       "turns the logo clockwise"},
      Text("output-path", "the file; its extension chooses the container"),
      Text(
          "write-path",
          "where the bytes go instead, if not to `output-path`, which log lines name all the same"),
      Flag("has-video", "whether pictures are written"),
      Flag("has-audio", "whether sound is written"),
      Int("width", "pixels", "width of the pictures that come in"),
      Int("height", "pixels", "height of the pictures that come in"),
      Text("input-color-format", "FFmpeg's name of the pixel format that comes in: `bgra`"),
      Double("frame-rate", "pictures/s", "pictures a second"),
      Int("stamp-rate", "ticks/s",
          "ticks that the times of pictures are kept at: a multiple of `frame-rate`, or 90000 if "
          "the rate varies; 0 (unless set) moves each picture to the nearest frame of "
          "`frame-rate`. AVI and MXF know no other way"),
      Double("video-length", "seconds",
             "of the whole video, up to which the last picture is shown; 0 (unless set) shows it "
             "for one frame. Only with `stamp-rate`, and not in containers that keep no durations, "
             "such as `.ts`"),
      Flag("has-constant-rate",
           "1 has the container tell `frame-rate` to players, 0 (unless set) leaves them to "
           "measure it"),
      Flag("even-slots",
           "1 keeps pictures in AVI, which knows no times but slots of one length, on their slots "
           "if the sound begins before them; 0 (unless set) may leave the second slot empty"),
      Flag("scale-any-format",
           "1 resizes pictures in every pixel format, those but `yuv420p`, `bgra` and `rgba` as "
           "`yuv420p`; 0 (unless set) refuses those"),
      Flag("true-layout",
           "1 reads `yuv411p` as FFmpeg lays it out if the width is no multiple of 4, 0 (unless "
           "set) with shorter rows of color"),
      Text("color-range",
           "FFmpeg's name of what the numbers of the output's pictures stand for: `tv`; players "
           "guess what is not set"),
      Text("color-space", "the same: `bt709`"),
      Text("color-primaries", "the same: `bt709`"),
      Text("color-trc", "the same: `bt709`"),
      Text("chroma-location", "the same: `left`"),
      Text("field-order",
           "`tt` or `bb` encodes each picture as two fields, the top or the bottom one to be "
           "shown first, `progressive` (unless set) as a whole; `libx264` only, in profile Main or "
           "above"),
      Flag(
          "true-level",
          "1 has `libx264` name the H.264 level that size, rate, buffer and preset need, 0 (unless "
          "set) names level 4.0"),
      Text("mastering-display",
           "the screen that pictures of high dynamic range were made on, as x265 writes it: "
           "`G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,500)`"),
      Text("content-light",
           "their brightest pixel and picture, in cd/m2: `1000,400`; both with `any-encoder`"),
      Int("orientation", "",
          "1 (unless set) to 8, as EXIF numbers them: turns and mirrors the pictures themselves, "
          "after all else; for `yuv420p`"),
      Text("tag.NAME", "a tag of the file by FFmpeg's name: `tag.title`"),
      Text("video-language", "of the pictures' stream: `eng`"),
      Text("audio-language", "of the sound's stream: `eng`"),
      Text("chapters", "a line for each: start and end in milliseconds, and its title"),
      Int("sample-rate", "Hz",
          "of the sound that comes in; the encoder has to take it: `codec::NearestSampleRate` "
          "tells "
          "one, and `codec::SoundResampler` makes it"),
      Int("channel-count", "channels", "of the sound that comes in"),
      Text("channel-layout",
           "their places, as FFmpeg numbers them: `0x3f`; the usual ones of their number unless "
           "set"),
      Int("sample-format", "",
          "FFmpeg's number of the type that the encoder takes: 8, planar float, for `aac`"),
      Int("sample-bits", "bits",
          "that the samples of the source have, 32 for floats, for encoders that can choose"),
      Flag("any-encoder",
           "1 gives the pictures and sound of other encoders than `libx264` and `aac` to a driver "
           "that fits all of FFmpeg's, in the format nearest to theirs, and `libx264` itself if "
           "`crf`, `qp`, `profile`, `level` or an option is set; 0 (unless set) treats all alike"),
      Flag("short-last-frame",
           "1 ends the sound with its last sample, 0 (unless set) fills its last frame up with "
           "silence"),
      Flag("independent",
           "1 lets the writer work while other writers of the process do: it has buffers of its "
           "own, and changes of the logo concern its logo only; 0 (unless set) shares both with "
           "them"),
      Flag("auto-discard-video",
           "1 (unless set) leaves a picture out when no buffer is free, 0 waits"),
      Flag("auto-discard-audio",
           "1 (unless set) leaves out sound that comes before the first picture"),
      Flag("enable-av-sync",
           "1 (unless set) fills gaps in the sound with silence, and drops what is ahead"),
  };
}

// A name that ends so stands for all names that begin alike.
constexpr std::string_view kAnyName = ":NAME";

bool IsNamed(const OutputKey& key, std::string_view name) {
  const std::string_view pattern = key.name;
  const size_t colon = pattern.find(kAnyName);
  if (colon == std::string_view::npos) return name == pattern;
  const size_t length = colon + 1;
  return name.size() > length && name.substr(0, length) == pattern.substr(0, length);
}

const OutputKey* Find(const std::string& name) {
  for (const OutputKey& key : OutputKeys()) {
    if (key.isSettable && IsNamed(key, name)) return &key;
  }
  return nullptr;
}

std::string UnknownKey(const std::string& name, const OptionNames& owner) {
  std::vector<std::string> names;
  for (const OutputKey& key : OutputKeys()) {
    if (key.isSettable) names.emplace_back(key.name);
  }
  const std::string nearest = Nearest(name, names);
  const std::string reason = owner.keyOwner + (" knows no key " + name);
  if (nearest.empty()) return reason + "; " + owner.keyList;
  return reason + "; did you mean " + nearest + "?";
}

std::string Joined(std::string_view words) {
  std::string text;
  for (const char c : words) text += c == ' ' ? ", " : std::string(1, c);
  return text;
}

bool IsOneOf(std::string_view words, std::string_view word) {
  for (std::string_view rest = words; !rest.empty();) {
    const std::string_view first = rest.substr(0, rest.find(' '));
    if (first == word) return true;
    rest.remove_prefix(std::min(first.size() + 1, rest.size()));
  }
  return false;
}

bool IsInRange(const OutputKey& key, const std::string& text) {
  int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end) return false;
  const bool isStep = key.type != KeyType::kEven || number % 2 == 0;
  return isStep && key.lowest <= number && number <= key.highest;
}

bool IsNumber(const std::string& text) {
  return !text.empty() && text.size() <= 2 &&
         std::all_of(text.begin(), text.end(), [](char c) { return '0' <= c && c <= '9'; });
}

bool Takes(const OutputKey& key, const std::string& text) {
  switch (key.type) {
    case KeyType::kInt:
    case KeyType::kEven:
      return IsInRange(key, text);
    case KeyType::kFlag:
      return text == "0" || text == "1";
    case KeyType::kChoice:
      return IsOneOf(key.choices, text);
    case KeyType::kPreset:
      return IsOneOf(key.choices, text) || IsNumber(text);
    case KeyType::kText:
    case KeyType::kFile:
    case KeyType::kDouble:
      break;
  }
  return !text.empty();
}

}  // namespace

const std::vector<OutputKey>& OutputKeys() {
  static const std::vector<OutputKey> keys = MakeKeys();
  return keys;
}

const char* TypeName(KeyType type) {
  constexpr const char* kNames[] = {"text",   "file", "flag", "choice",
                                    "choice", "int",  "int",  "double"};
  return kNames[static_cast<size_t>(type)];
}

std::string RangeText(const OutputKey& key) {
  std::string unit = key.unit;
  if (!unit.empty()) unit.insert(unit.begin(), ' ');
  switch (key.type) {
    case KeyType::kInt:
    case KeyType::kEven:
      if (!key.isSettable) return key.unit;
      return std::to_string(key.lowest) + " to " + std::to_string(key.highest) + unit +
             (key.type == KeyType::kEven ? ", even" : "");
    case KeyType::kFlag:
      return "0, 1";
    case KeyType::kChoice:
    case KeyType::kPreset:
      return Joined(key.choices) + unit;
    case KeyType::kDouble:
      return key.unit;
    case KeyType::kText:
    case KeyType::kFile:
      break;
  }
  return "";
}

std::string WhyNotSet(const OutputValue& value, const OptionNames& names) {
  const OutputKey* const key = Find(value.key);
  if (key == nullptr) return UnknownKey(value.key, names);
  if (Takes(*key, value.value)) return "";
  const std::string range = RangeText(*key);
  return names.set + value.key + " takes " + (range.empty() ? "a name" : range) + ", not " +
         (value.value.empty() ? "nothing" : value.value);
}

std::string WhyNotTogether(const std::vector<OutputValue>& values, const OptionNames& names) {
  const auto isSet = [&values](std::string_view name) {
    return std::any_of(values.begin(), values.end(),
                       [name](const OutputValue& other) { return other.key == name; });
  };
  for (const OutputValue& value : values) {
    const OutputKey* const key = Find(value.key);
    if (key == nullptr || *key->needs == '\0' || isSet(key->needs)) continue;
    return names.set + value.key + " does nothing alone; set " + key->needs + " too";
  }
  return "";
}

}  // namespace app
