// SPDX-License-Identifier: MIT
// The log as a person at a terminal sees it: lines scroll, and below them one line is drawn again
// and again that shows how far the run is.
#pragma once

#include <spdlog/sinks/base_sink.h>

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

#include "app/progress_bar.h"
#include "app/progress_observer.h"

namespace app {

// Draws the progress of the run driver as a bar; writes the lines of the log above it, coloured by
// level. Sets no title, hides no cursor, and every colour is reset within its line, so that a
// program killed at any moment leaves the terminal as it was.
//
// The cursor rests at the start of the bar's line. A terminal that is made narrower breaks the line
// in two, but the cursor stays with its first half, and clearing from there takes both.
class TerminalSink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  // `terminal` is open and stays so.
  TerminalSink(std::FILE* terminal, bool isUtf8) : mTerminal(terminal), mBar(isUtf8) {}

  // Draws the bar. `now` in seconds since the epoch, as messages have their times.
  void Draw(const Progress& progress, double now);
  // Leaves the bar as it is, with the cursor on the line below it.
  void Finish();

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override;
  void flush_() override {}

 private:
  // The bar's line, with the cursor back at its start.
  std::string Drawn() const;
  std::string Formatted(const spdlog::details::log_msg& message);
  void Write(const std::string& text);

  // Under the base's mutex.
  std::FILE* const mTerminal;
  ProgressBar mBar;
  double mNow = 0;  // seconds, of the last message or progress
  bool mIsShown = false;
};

// Sends the log of the process to standard error's terminal until it is destroyed, from warnings
// on: the bar tells the progress. Does nothing if standard error is no terminal, or if the person
// wants plain lines: in the environment NO_COLOR or CI is set, or TERM is missing or "dumb".
class TerminalLog : public ProgressObserver {
 public:
  TerminalLog();
  ~TerminalLog() override;

  // Whether there is a bar; without one the calls below do nothing.
  bool IsDrawing() const { return mSink != nullptr; }
  void OnProgress(const Progress& progress) override;

 private:
  std::shared_ptr<TerminalSink> mSink;  // null where lines are plain
};

}  // namespace app
