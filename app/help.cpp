// SPDX-License-Identifier: MIT
#include "app/help.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "app/option_table.h"
#include "app/output_keys.h"
#include "app/version.h"
#include "base/log.h"
#include "codec/ffmpeg/versions.h"

namespace app {
namespace {

constexpr char kIntroduction[] =
    "clip-reverse plays a clip backwards: it writes a new file with the pictures\n"
    "last to first and the sound reversed sample by sample.\n"
    "\n"
    "Usage: clip-reverse -i FILE -o FILE [OPTIONS]\n";

constexpr char kExamples[] =
    "\n"
    "Examples:\n"
    "  clip-reverse -i in.mp4 -o out.mkv -s 0:02 -e 0:05.5 --no-sound\n"
    "  clip-reverse -i in.mp4 -o out.mp4 --set preset=medium --set gop=50\n"
    "\n"
    "More: man clip-reverse\n";

constexpr char kLicence[] =
    "Licence: MIT. With FFmpeg libraries that hold x264, as Debian's do, the program\n"
    "as a whole is under the GNU General Public License, version 2 or later.\n";

constexpr size_t kOptionColumns = 22;
constexpr size_t kPageColumns = 79;

std::string Padded(std::string text, size_t columns) {
  text.resize(std::max(columns, text.size() + 1), ' ');
  return text;
}

std::string OptionLine(const Option& option) {
  std::string name;
  if (*option.synonym != '\0') name.append(option.synonym).append(", ");
  name += option.name;
  if (option.HasValue()) name.append(" ").append(option.valueName);
  return "  " + Padded(name, kOptionColumns) + option.sentence + "\n";
}

// Breaks a sentence into lines that begin with so many blanks.
std::string Wrapped(std::string_view sentence, size_t indent) {
  std::string text;
  std::string line(indent, ' ');
  while (!sentence.empty()) {
    const std::string_view word = sentence.substr(0, sentence.find(' '));
    sentence.remove_prefix(std::min(word.size() + 1, sentence.size()));
    const bool isFirst = line.size() == indent;
    if (!isFirst && line.size() + 1 + word.size() > kPageColumns) {
      text += line + "\n";
      line.assign(indent, ' ');
    } else if (!isFirst) {
      line += ' ';
    }
    line += word;
  }
  return text + line + "\n";
}

// Marks of the pages' text form; at a terminal the words stand for themselves.
std::string WithoutMarks(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '`'), text.end());
  return text;
}

}  // namespace

std::string HelpText() {
  std::string text = kIntroduction;
  std::string_view group;
  for (const Option& option : Options()) {
    if (group != option.group) text.append("\n").append(option.group).append(":\n");
    group = option.group;
    text += OptionLine(option);
  }
  return text + kExamples;
}

std::string KeysText() {
  std::string text = "Keys of --set KEY=VALUE. The last value of a key counts.\n";
  for (const OutputKey& key : OutputKeys()) {
    if (!key.isSettable) continue;
    std::string type = TypeName(key.type);
    const std::string range = RangeText(key);
    if (!range.empty()) type += ": " + range;
    text.append("\n").append(key.name).append("\n");
    text += Wrapped(type, 4);
    text += Wrapped(WithoutMarks(key.sentence), 4);
    if (*key.needs != '\0') text += Wrapped(std::string("needs ").append(key.needs), 4);
  }
  return text;
}

std::string VersionText() {
  std::string text = std::string("clip-reverse ") + kVersion + "\n";
  for (const codec::ffmpeg::LibraryVersion& library : codec::ffmpeg::LibraryVersions()) {
    text += Padded(library.name, 14) + codec::ffmpeg::VersionText(library.loaded) +
            ", built with " + codec::ffmpeg::VersionText(library.built) + "\n";
  }
  return text + kLicence;
}

int PrintPage(Page page) {
  const std::string text = page == Page::kHelp   ? HelpText()
                           : page == Page::kKeys ? KeysText()
                                                 : VersionText();
  if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return 0;
  log_error("reverse::Main", "standard output: %s", std::strerror(errno));
  return -1;
}

}  // namespace app
