// SPDX-License-Identifier: MIT
// Collects the log lines of a test, so that texts, levels and tags can be asserted.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/log.h"

namespace test_support {

struct LogLine {
  int level;  // LogLevel
  std::string tag;
  std::string text;

  friend bool operator==(const LogLine& a, const LogLine& b) {
    return a.level == b.level && a.tag == b.tag && a.text == b.text;
  }
};

// Prints a line when an assertion fails.
void PrintTo(const LogLine& line, std::ostream* out);

// From construction to destruction every line of every level is collected and none reaches the
// terminal; afterwards the logger is as it was.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // The lines so far, in order.
  std::vector<LogLine> Lines() const;
  // The texts of the lines with this tag.
  std::vector<std::string> Texts(const std::string& tag) const;
  // How many lines have this level, tag and text.
  int Count(int level, const std::string& tag, const std::string& text) const;
  bool Has(int level, const std::string& tag, const std::string& text) const {
    return Count(level, tag, text) > 0;
  }
  // How many lines of this level and tag contain this piece.
  int CountContaining(int level, const std::string& tag, const std::string& piece) const;
  void Clear();

 private:
  class Sink;
  std::shared_ptr<Sink> mSink;
  struct Saved;
  std::unique_ptr<Saved> mSaved;
};

}  // namespace test_support
