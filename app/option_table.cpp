// SPDX-License-Identifier: MIT
#include "app/option_table.h"

#include <algorithm>

#include "app/byte_size.h"
#include "app/nearest.h"
#include "app/output_keys.h"
#include "base/log.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

int StoreMemory(CommandLine* line, const char* value) {
  line->memory = ParseByteSize(value);
  if (line->memory > 0) return 0;
  log_error(kTag,
            "option --memory needs a size, not %s; give bytes, or K, M or G, as in --memory 300M",
            value);
  return -1;
}

int StoreOutputValue(CommandLine* line, const char* value) {
  const std::string text = value;
  const size_t sign = text.find('=');
  if (sign == std::string::npos || sign == 0) {
    log_error(kTag, "option --set needs KEY=VALUE, not %s; as in --set preset=fast", value);
    return -1;
  }
  const OutputValue given = {text.substr(0, sign), text.substr(sign + 1)};
  const std::string reason = WhyNotSet(given);
  if (!reason.empty()) {
    log_error(kTag, "%s", reason.c_str());
    return -1;
  }
  line->outputValues.push_back(given);
  return 0;
}

int StoreOverwrite(CommandLine* line, const char* value) {
  const std::string_view text = value;
  line->overwrite = text == "no"    ? Overwrite::kNo
                    : text == "ask" ? Overwrite::kAsk
                                    : Overwrite::kYes;
  if (line->overwrite != Overwrite::kYes || text == "yes") return 0;
  log_error(kTag, "option --overwrite needs ask, yes or no, not %s", value);
  return -1;
}

int StoreProgress(CommandLine* line, const char* value) {
  line->isJson = std::string_view(value) == "json";
  if (line->isJson) return 0;
  log_error(kTag, "option --progress needs json, not %s", value);
  return -1;
}

template <auto Member>
int Switch(CommandLine* line, const char* /*value*/) {
  line->*Member = true;
  return 0;
}

template <auto Member>
int Keep(CommandLine* line, const char* value) {
  line->*Member = value;
  return 0;
}

template <Page Shown>
int Show(CommandLine* line, const char* /*value*/) {
  line->page = Shown;
  return 0;
}

// The two that choose a level do so at once: what is said of the words after them has it.
int LogAll(CommandLine* /*line*/, const char* /*value*/) {
  log_set_level(kLogVerbose);
  return 0;
}

int LogErrors(CommandLine* line, const char* /*value*/) {
  line->isQuiet = true;
  log_set_level(kLogError);
  return 0;
}

std::vector<Option> MakeOptions() {
  using V = OptionValue;
  using C = CommandLine;
  return {
      {"Files", "-i", "", "--input", V::kInput, "FILE", "in.mp4", "", "the clip to reverse",
       &Keep<&C::input>},
      {"Files", "-o", "", "--output", V::kOutput, "FILE", "out.mp4", "",
       "the file to write: .mp4, .mov, .mkv, .avi or .ts", &Keep<&C::output>},
      {"Files", "--overwrite", "", "--force", V::kChoice, "HOW", "no", "ask yes no",
       "replace that file: yes, no or ask (default: yes)", &StoreOverwrite},
      {"Range", "-s", "", "--start", V::kTime, "TIME", "2.5", "",
       "where the range starts: seconds or 1:30.5 (default: 0)", &Keep<&C::startText>},
      {"Range", "-e", "", "--end", V::kTime, "TIME", "2.5", "",
       "where it ends (default: the end of the clip)", &Keep<&C::endText>},
      {"Output", "--no-sound", "", "--no-audio", V::kNone, "", "", "", "leaves the sound out",
       &Switch<&C::hasNoSound>},
      {"Output", "--like-source", "", "--same-codecs", V::kNone, "", "", "",
       "keeps the clip's codecs, pixel format and channels", &Switch<&C::isLikeSource>},
      {"Output", "--copy", "", "--stream-copy", V::kNone, "", "", "",
       "copies pictures bit for bit; sound as PCM, ALAC, FLAC", &Switch<&C::isCopy>},
      {"Output", "--set", "", "--param", V::kKey, "KEY=VALUE", "preset=fast", "",
       "sets a key of the output; may be given several times", &StoreOutputValue},
      {"Output", "--strict", "", "--exact", V::kNone, "", "", "",
       "fails if a part of the clip is lost", &Switch<&C::isStrict>},
      {"Run", "--memory", "", "--ram", V::kSize, "SIZE", "300M", "",
       "memory to stay below: 300M, 1.5G (default: the host's)", &StoreMemory},
      {"Run", "--plain", "", "--simple", V::kNone, "", "", "",
       "leaves off all that goes beyond the plain reversal", &Switch<&C::isPlain>},
      {"Messages", "-v", "", "--verbose", V::kNone, "", "", "",
       "logs everything, FFmpeg's lines included", &LogAll},
      {"Messages", "--quiet", "", "--silent", V::kNone, "", "", "",
       "logs errors only, and one line at the end", &LogErrors},
      {"Messages", "--progress", "", "--json", V::kChoice, "HOW", "json", "json",
       "json: the progress as JSON lines on standard error", &StoreProgress},
      {"Help", "--help", "-h", "--usage", V::kPage, "", "", "", "shows this text",
       &Show<Page::kHelp>},
      {"Help", "--help=keys", "", "", V::kPage, "", "", "", "shows the keys of --set",
       &Show<Page::kKeys>},
      {"Help", "--version", "", "", V::kPage, "", "", "",
       "shows the versions of the program and of FFmpeg", &Show<Page::kVersion>},
  };
}

}  // namespace

const std::vector<Option>& Options() {
  static const std::vector<Option> options = MakeOptions();
  return options;
}

OptionWord FindOption(const char* word) {
  const std::string_view text = word;
  const std::string_view name = text.substr(0, text.find('='));
  const bool hasValueInside = name.size() < text.size() && name.substr(0, 2) == "--";
  for (const Option& option : Options()) {
    if (text == option.name) return {&option, nullptr};
    if (*option.synonym != '\0' && text == option.synonym) return {&option, nullptr};
    if (hasValueInside && option.HasValue() && name == option.name) {
      return {&option, word + name.size() + 1};
    }
  }
  return {};
}

std::string NearestOption(std::string_view word) {
  const std::string name(word.substr(0, word.find('=')));
  // A key of the output, as other programs have options.
  for (const OutputKey& key : OutputKeys()) {
    if (key.isSettable && name == std::string("--") + key.name) {
      return std::string("--set ") + key.name + "=";
    }
  }
  std::vector<std::string> names;
  for (const Option& option : Options()) {
    for (const char* candidate : {option.name, option.synonym, option.meant}) {
      if (*candidate != '\0') names.emplace_back(candidate);
    }
  }
  std::string nearest = Nearest(name, names);
  for (const Option& option : Options()) {
    if (!nearest.empty() && nearest == option.meant) return option.name;
  }
  return nearest;
}

}  // namespace app
