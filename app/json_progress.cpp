// SPDX-License-Identifier: MIT
#include "app/json_progress.h"

#include <array>
#include <chrono>
#include <optional>
#include <utility>

namespace app {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

std::string Number(double value, int decimals) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  return text.data();
}

std::string NumberOrNull(const std::optional<double>& value, int decimals) {
  return value.has_value() ? Number(*value, decimals) : "null";
}

// Bytes of the UTF-8 letter at the begin of a text; 0 if there is none. Letters that are written
// longer than need be, halves of pairs and what lies above Unicode are none.
size_t LetterLength(const std::string& text, size_t at) {
  struct Row {
    unsigned mask;
    unsigned mark;
    size_t length;
    unsigned least;  // code point
  };
  constexpr std::array<Row, 4> kRows = {{{0x80, 0x00, 1, 0},
                                         {0xE0, 0xC0, 2, 0x80},
                                         {0xF0, 0xE0, 3, 0x800},
                                         {0xF8, 0xF0, 4, 0x10000}}};
  const unsigned first = static_cast<unsigned char>(text[at]);
  for (const Row& row : kRows) {
    if ((first & row.mask) != row.mark) continue;
    unsigned code = first & ~row.mask;
    for (size_t i = 1; i < row.length; ++i) {
      const unsigned next = at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0;
      if ((next & 0xC0) != 0x80) return 0;
      code = code << 6 | (next & 0x3F);
    }
    const bool isHalf = code >= 0xD800 && code <= 0xDFFF;
    return code < row.least || isHalf || code > 0x10FFFF ? 0 : row.length;
  }
  return 0;
}

double HostClock() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

std::string JsonText(const std::string& text) {
  std::string json = "\"";
  for (size_t at = 0; at < text.size();) {
    const size_t length = LetterLength(text, at);
    const auto byte = static_cast<unsigned char>(text[at]);
    if (length == 0) {
      json += kReplacement;
    } else if (byte < ' ') {
      std::array<char, 8> code{};
      std::snprintf(code.data(), code.size(), "\\u%04x", byte);
      json += code.data();
    } else {
      if (byte == '"' || byte == '\\') json += '\\';
      json.append(text, at, length);
    }
    at += length == 0 ? 1 : length;
  }
  return json + "\"";
}

JsonProgress::JsonProgress(std::FILE* file, std::function<double()> clock)
    : mFile(file), mClock(std::move(clock)) {}

JsonProgress::JsonProgress(std::FILE* file) : JsonProgress(file, &HostClock) {}

void JsonProgress::OnProgress(const Progress& progress) {
  mPace.Update(progress.percent, mClock());
  mLast = progress;
  Write(Fields());
}

void JsonProgress::OnEnd(const RunEnd& end) {
  std::string line = Fields() + AccountFields();
  line += end.isDone ? ",\"result\":\"done\"" : ",\"result\":\"failed\",\"advice\":";
  if (!end.isDone) line += JsonText(end.advice);
  Write(line);
}

std::string JsonProgress::Fields() const {
  std::string fields;
  const auto add = [&fields](const char* name, const std::string& value) {
    fields.append(fields.empty() ? "\"" : ",\"").append(name).append("\":").append(value);
  };
  add("percent", Number(mLast.percent, 3));
  add("position", Number(mLast.position, 3));
  add("length", Number(mLast.range, 3));
  add("speed", NumberOrNull(mPace.Speed(mLast.range), 2));
  add("left", NumberOrNull(mPace.Left(mClock()), 1));
  add("bytes", std::to_string(mLast.bytes));
  return fields;
}

// After the run only, with a comma before the first one. Empty if there is no account.
std::string JsonProgress::AccountFields() const {
  if (!mAccount.has_value()) return "";
  const int64_t missing = mAccount->input.Missing();
  return ",\"pictures\":" + std::to_string(mAccount->pictures) +
         ",\"sound\":" + Number(mAccount->sound.written, 3) +
         ",\"lost_pictures\":" + std::to_string(mAccount->lost.Count()) +
         ",\"lost_sound\":" + Number(mAccount->sound.lost, 3) +
         (missing > 0 ? ",\"missing_bytes\":" + std::to_string(missing) : "");
}

// In one write, so that no line of the log comes between.
void JsonProgress::Write(const std::string& fields) {
  std::string whole = "{";
  whole.append(fields).append("}\n");
  std::fwrite(whole.data(), 1, whole.size(), mFile);
  std::fflush(mFile);
}

}  // namespace app
