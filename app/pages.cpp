// SPDX-License-Identifier: MIT
#include "app/pages.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "app/help.h"
#include "app/option_table.h"
#include "app/output_keys.h"

namespace app {
namespace {

std::string Concat(std::initializer_list<std::string_view> pieces) {
  std::string text;
  for (const std::string_view piece : pieces) text += piece;
  return text;
}

std::string Replaced(std::string_view text, char from, std::string_view to) {
  std::string result;
  for (const char c : text) {
    if (c == from) {
      result += to;
    } else {
      result += c;
    }
  }
  return result;
}

// Words in backticks become what stands between the two marks.
std::string Marked(std::string_view text, std::string_view open, std::string_view close) {
  std::string result;
  bool isOpen = false;
  for (const char c : text) {
    if (c != '`') {
      result += c;
      continue;
    }
    result += isOpen ? close : open;
    isOpen = !isOpen;
  }
  return result;
}

std::string Capital(std::string text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') {
    text[0] = static_cast<char>(text[0] - 'a' + 'A');
  }
  return text;
}

// docs/keys.md: all keys.
std::string MarkdownKeys() {
  std::string text =
      "| Key | Type | Values | `--set` | Meaning |\n"
      "|---|---|---|---|---|\n";
  for (const OutputKey& key : OutputKeys()) {
    std::string meaning = key.sentence;
    if (*key.needs != '\0') meaning += Concat({"; needs `", key.needs, "`"});
    text += Concat({"| `", key.name, "` | ", TypeName(key.type), " | ", RangeText(key), " | ",
                    key.isSettable ? "yes" : "", " | ", meaning, " |\n"});
  }
  return text;
}

std::string Roff(std::string_view text) {
  return Replaced(Marked(text, "\\fI", "\\fR"), '-', "\\-");
}

// The manual page: the keys of --set.
std::string RoffKeys() {
  std::string text;
  for (const OutputKey& key : OutputKeys()) {
    if (!key.isSettable) continue;
    text += Concat({".TP\n.BR ", Roff(key.name), " \" (", TypeName(key.type)});
    const std::string range = RangeText(key);
    if (!range.empty()) text += Concat({": ", Roff(range)});
    text += Concat({")\"\n", Capital(Roff(key.sentence)), ".\n"});
    if (*key.needs != '\0') text += Concat({"Needs\n.BR ", Roff(key.needs), " .\n"});
  }
  return text;
}

std::string MarkdownHelp() { return Concat({"```text\n", HelpText(), "```\n"}); }

// The values of a key that can be told, parted by blanks.
std::string ValuesOf(const OutputKey& key) {
  return key.type == KeyType::kFlag ? "0 1" : key.choices;
}

// Each settable key with an end, "preset=".
std::string KeyWords() {
  std::string words;
  for (const OutputKey& key : OutputKeys()) {
    if (key.isSettable) words += Concat({words.empty() ? "" : " ", key.name, "="});
  }
  return words;
}

// Branches of a shell's `case` that set `values` by a key, whose name follows the mark.
std::string KeyBranches(std::string_view mark) {
  std::string text;
  for (const OutputKey& key : OutputKeys()) {
    const std::string values = ValuesOf(key);
    if (!key.isSettable || values.empty()) continue;
    text += Concat({"    ", mark, key.name, ") values=(", values, ") ;;\n"});
  }
  return text;
}

std::string BashWords() {
  std::string names;
  std::string branches;
  std::string silent;
  for (const Option& option : Options()) {
    for (const char* name : {option.synonym, option.name}) {
      if (*name != '\0') names += Concat({names.empty() ? "" : " ", name});
    }
    if (option.value == OptionValue::kChoice) {
      branches += Concat({"    ", option.name, ") values=(", option.choices, ") ;;\n"});
    } else if (option.value == OptionValue::kKey) {
      branches += Concat({"    ", option.name, ") values=(", KeyWords(), ") ;;\n"});
    } else if (option.HasValue()) {
      silent += Concat({silent.empty() ? "" : " | ", option.name});
    }
  }
  return Concat({"  case $word in\n", branches, KeyBranches("="), "    ", silent,
                 " | =*) values=() ;;\n", "    *) values=(", names, ") ;;\n  esac\n"});
}

// For text between single quotes.
std::string Quoted(std::string_view text, std::string_view quote) {
  return Replaced(text, '\'', quote);
}

std::string ZshAction(const Option& option) {
  switch (option.value) {
    case OptionValue::kInput:
      return ":input:_clip_reverse_input";
    case OptionValue::kOutput:
      return ":output:_clip_reverse_output";
    case OptionValue::kTime:
      return ":time: ";
    case OptionValue::kSize:
      return ":size: ";
    case OptionValue::kChoice:
      return Concat({":how:(", option.choices, ")"});
    case OptionValue::kKey:
      return ":key:_clip_reverse_keys";
    case OptionValue::kNone:
    case OptionValue::kPage:
      break;
  }
  return "";
}

std::string ZshOptions() {
  std::string text;
  for (const Option& option : Options()) {
    const bool isLong = std::string_view(option.name).substr(0, 2) == "--";
    const std::string rest =
        Concat({"[", Quoted(option.sentence, "'\\''"), "]", ZshAction(option), "' \\\n"});
    const char* const mark = option.value == OptionValue::kKey ? "*" : "";
    const char* const end = isLong && option.HasValue() ? "=" : "";
    if (*option.synonym != '\0') text += Concat({"  '", option.synonym, rest});
    text += Concat({"  '", mark, option.name, end, rest});
  }
  // The last line is not continued.
  text.resize(text.size() - 3);
  return Concat({"_arguments \\\n", text, "\n"});
}

std::string ZshKeys() {
  return Concat({"  keys=(", Replaced(KeyWords(), '=', ""), ")\n  case $key in\n", KeyBranches(""),
                 "  esac\n"});
}

std::string FishValues(const Option& option) {
  if (option.value == OptionValue::kInput) return "(__clip_reverse_input)";
  if (option.value == OptionValue::kOutput) return "(__clip_reverse_output)";
  if (option.value != OptionValue::kKey) return option.choices;
  std::string words;
  for (const OutputKey& key : OutputKeys()) {
    if (!key.isSettable) continue;
    std::string values = ValuesOf(key);
    const std::string separator = Concat({" ", key.name, "="});
    words += Concat({separator, Replaced(values, ' ', separator)});
  }
  return words.substr(1);
}

std::string FishOptions() {
  std::string text;
  for (const Option& option : Options()) {
    const std::string_view name = option.name;
    const bool isLong = name.substr(0, 2) == "--";
    text +=
        Concat({"complete -c clip-reverse ", isLong ? "-l " : "-s ", name.substr(isLong ? 2 : 1)});
    if (*option.synonym != '\0') text += Concat({" -s ", option.synonym + 1});
    if (option.HasValue()) text += " -x";
    text += Concat({" -d '", Quoted(option.sentence, "\\'"), "'"});
    const std::string values = FishValues(option);
    if (!values.empty()) text += Concat({" -a '", values, "'"});
    text += "\n";
  }
  return text;
}

}  // namespace

std::vector<PagePart> PageParts() {
  return {{"README.md", "help", MarkdownHelp()},
          {"docs/keys.md", "keys", MarkdownKeys()},
          {"docs/clip-reverse.1", "keys", RoffKeys()},
          {"completions/clip-reverse.bash", "words", BashWords()},
          {"completions/_clip-reverse", "options", ZshOptions()},
          {"completions/_clip-reverse", "keys", ZshKeys()},
          {"completions/clip-reverse.fish", "options", FishOptions()}};
}

std::string WithPart(const std::string& page, const PagePart& part) {
  const size_t mark = page.find(Concat({"begin of generated: ", part.name}));
  const size_t begin = mark == std::string::npos ? mark : page.find('\n', mark);
  const size_t end = page.find(Concat({"end of generated: ", part.name}));
  if (begin == std::string::npos || end == std::string::npos || end < begin) return "";
  const size_t endLine = page.rfind('\n', end);
  return Concat({std::string_view(page).substr(0, begin + 1), part.text,
                 std::string_view(page).substr(endLine + 1)});
}

}  // namespace app
