// SPDX-License-Identifier: MIT
#include "app/terminal_sink.h"

#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/log.h"
#include "base/log_backend.h"

namespace app {
namespace {

constexpr char kClear[] = "\r\x1b[J";
constexpr char kReset[] = "\x1b[m";

// By spdlog's number of the level, trace first.
constexpr std::array kColours = {"", "\x1b[36m", "\x1b[32m", "\x1b[33m", "\x1b[31m", "", ""};

double Seconds(const spdlog::log_clock::time_point& time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
}

int Columns(std::FILE* terminal) {
  constexpr int kUsual = 80;
  winsize size{};
  if (ioctl(fileno(terminal), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsual;
  return size.ws_col;
}

// Names and tags of a clip may hold anything, also what would turn the terminal's colours or its
// title, or a newline after which the name goes on like a line of ours. Only the newline at the end
// of the line stays.
void MaskControls(std::string* line) {
  const size_t end = line->find_last_not_of('\n') + 1;
  for (size_t i = 0; i < end; ++i) {
    const auto byte = static_cast<unsigned char>((*line)[i]);
    if ((byte < ' ' && byte != '\t') || byte == 0x7f) (*line)[i] = '?';
  }
}

std::string_view Setting(const char* variable) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

bool WantsDrawing() {
  const std::string_view terminal = Setting("TERM");
  return isatty(STDERR_FILENO) != 0 && Setting("NO_COLOR").empty() && Setting("CI").empty() &&
         !terminal.empty() && terminal != "dumb";
}

// Asked without changing the process's locale, by which other libraries read and write numbers.
bool IsUtf8() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return false;
  const bool result = std::strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
  freelocale(locale);
  return result;
}

}  // namespace

void TerminalSink::Draw(const Progress& progress, double now) {
  const std::lock_guard lock(mutex_);
  mNow = now;
  mBar.SetRange(progress.range);
  mBar.Update(progress.percent, now);
  mIsShown = true;
  // Each time in one write, so that a program that is killed leaves no half of a line.
  Write(kClear + Drawn());
}

void TerminalSink::Finish() {
  const std::lock_guard lock(mutex_);
  if (mIsShown) Write(kClear + mBar.Line(Columns(mTerminal), mNow) + "\n");
  mIsShown = false;
}

void TerminalSink::sink_it_(const spdlog::details::log_msg& message) {
  mNow = Seconds(message.time);
  // Each time in one write, so that a program that is killed leaves no half of a colour behind.
  std::string out = mIsShown ? kClear : "";
  out += Formatted(message);
  // An error may be the end of the run; the bar comes back with the next progress if it is not.
  if (message.level >= spdlog::level::err) mIsShown = false;
  Write(mIsShown ? out + Drawn() : out);
}

std::string TerminalSink::Drawn() const { return mBar.Line(Columns(mTerminal), mNow) + "\r"; }

std::string TerminalSink::Formatted(const spdlog::details::log_msg& message) {
  spdlog::memory_buf_t buffer;
  formatter_->format(message, buffer);
  std::string line(buffer.data(), buffer.size());
  MaskControls(&line);
  // The end first: it does not move the begin.
  line.insert(message.color_range_end, kReset);
  line.insert(message.color_range_start, kColours.at(message.level));
  return line;
}

void TerminalSink::Write(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), mTerminal);
  std::fflush(mTerminal);
}

TerminalLog::TerminalLog() {
  if (!WantsDrawing()) return;
  mSink = std::make_shared<TerminalSink>(stderr, IsUtf8());
  mSink->set_pattern(kLogPattern);
  LogBackend()->sinks() = {mSink};
  log_set_level(kLogWarn);
}

TerminalLog::~TerminalLog() {
  if (mSink != nullptr) mSink->Finish();
}

void TerminalLog::OnProgress(const Progress& progress) {
  if (mSink != nullptr) mSink->Draw(progress, Seconds(spdlog::log_clock::now()));
}

}  // namespace app
