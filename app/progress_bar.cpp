// SPDX-License-Identifier: MIT
#include "app/progress_bar.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <optional>

namespace app {
namespace {

// The key that interrupts a run is echoed at the start of the line and must not hide anything.
constexpr int kIndent = 2;
constexpr int kSmallestBar = 5;

struct BarStyle {
  const char* open;
  const char* done;
  const char* left;
  const char* close;
  int borders;  // columns of open and close
};
constexpr BarStyle kAsciiStyle = {"[", "#", "-", "]", 2};
constexpr BarStyle kUtf8Style = {"", "\u2588", "\u2591", "", 0};

[[gnu::format(printf, 1, 2)]] std::string Text(const char* format, ...) {
  std::array<char, 64> text{};
  va_list values;
  va_start(values, format);
  std::vsnprintf(text.data(), text.size(), format, values);
  va_end(values);
  return text.data();
}

std::string ClockText(double seconds) {
  constexpr double kLongest = 359999;  // 99:59:59
  const auto whole = static_cast<int>(std::clamp(seconds, 0.0, kLongest));
  const int hours = whole / 3600;
  const int minutes = whole / 60 % 60;
  if (hours > 0) return Text("%d:%02d:%02d", hours, minutes, whole % 60);
  return Text("%d:%02d", minutes, whole % 60);
}

}  // namespace

std::string ProgressBar::Speed() const {
  const std::optional<double> speed = mPace.Speed(mRange);
  if (!speed.has_value()) return "";
  const int decimals = *speed < 10 ? 2 : *speed < 100 ? 1 : 0;
  // Widths are fixed where they can be, so that the bar beside them keeps its own.
  return Text(" %5.*fx", decimals, std::min(*speed, 99999.0));
}

std::string ProgressBar::Time(double now) const {
  if (mPace.Percent() >= 100) return Text(" %10s", ("in " + ClockText(mPace.Taken())).c_str());
  const std::optional<double> left = mPace.Left(now);
  if (!left.has_value()) return "";
  return Text(" %10s", (ClockText(*left) + " left").c_str());
}

std::string ProgressBar::Bar(int width) const {
  const BarStyle& style = mIsUtf8 ? kUtf8Style : kAsciiStyle;
  const int cells = width - style.borders;
  const int done = static_cast<int>(cells * mPace.Percent() / 100);
  std::string bar = style.open;
  for (int i = 0; i < cells; ++i) bar += i < done ? style.done : style.left;
  return bar + style.close;
}

std::string ProgressBar::Line(int columns, double now) const {
  if (!mPace.HasBegun()) return "";
  const std::array<std::string, 3> details = {Text(" %3d%%", static_cast<int>(mPace.Percent())),
                                              Speed(), Time(now)};
  int room = columns - 1 - kIndent - kSmallestBar;
  if (room < 0) return "";
  std::string tail;
  for (const std::string& detail : details) {
    if (room < static_cast<int>(tail.size() + detail.size())) break;
    tail += detail;
  }
  room += kSmallestBar - static_cast<int>(tail.size());
  return std::string(kIndent, ' ') + Bar(room) + tail;
}

}  // namespace app
