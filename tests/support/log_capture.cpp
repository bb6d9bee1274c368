// SPDX-License-Identifier: MIT
#include "tests/support/log_capture.h"

#include <spdlog/sinks/base_sink.h>

#include <algorithm>
#include <ostream>

#include "base/log_backend.h"

namespace test_support {
namespace {

int OurLevel(spdlog::level::level_enum level) {
  switch (level) {
    case spdlog::level::err:
      return kLogError;
    case spdlog::level::warn:
      return kLogWarn;
    case spdlog::level::info:
      return kLogInfo;
    case spdlog::level::debug:
      return kLogDebug;
    default:
      return kLogVerbose;
  }
}

}  // namespace

void PrintTo(const LogLine& line, std::ostream* out) {
  *out << "{level " << line.level << ", tag \"" << line.tag << "\", \"" << line.text << "\"}";
}

class LogCapture::Sink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  std::vector<LogLine> Lines() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return mLines;
  }
  void Clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    mLines.clear();
  }

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    const std::string payload(message.payload.data(), message.payload.size());
    const size_t end = payload.find("] ");
    mLines.push_back(
        {OurLevel(message.level), payload.substr(1, end - 1), payload.substr(end + 2)});
  }
  void flush_() override {}

 private:
  std::vector<LogLine> mLines;
};

struct LogCapture::Saved {
  std::vector<spdlog::sink_ptr> sinks;
  spdlog::level::level_enum level;
};

LogCapture::LogCapture()
    : mSink(std::make_shared<Sink>()),
      mSaved(new Saved{LogBackend()->sinks(), LogBackend()->level()}) {
  LogBackend()->sinks() = {mSink};
  log_set_level(kLogVerbose);
}

LogCapture::~LogCapture() {
  LogBackend()->sinks() = mSaved->sinks;
  LogBackend()->set_level(mSaved->level);
}

std::vector<LogLine> LogCapture::Lines() const { return mSink->Lines(); }

std::vector<std::string> LogCapture::Texts(const std::string& tag) const {
  std::vector<std::string> texts;
  for (const LogLine& line : Lines()) {
    if (line.tag == tag) texts.push_back(line.text);
  }
  return texts;
}

int LogCapture::Count(int level, const std::string& tag, const std::string& text) const {
  const std::vector<LogLine> lines = Lines();
  return static_cast<int>(std::count(lines.begin(), lines.end(), LogLine{level, tag, text}));
}

int LogCapture::CountContaining(int level, const std::string& tag, const std::string& piece) const {
  int count = 0;
  for (const LogLine& line : Lines()) {
    if (line.level == level && line.tag == tag && line.text.find(piece) != std::string::npos) {
      ++count;
    }
  }
  return count;
}

void LogCapture::Clear() { mSink->Clear(); }

}  // namespace test_support
