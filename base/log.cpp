// SPDX-License-Identifier: MIT
#include "base/log.h"

#include <spdlog/sinks/stdout_sinks.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>
#include <string_view>

#include "base/log_backend.h"

namespace {

constexpr std::array kBackendLevels = {spdlog::level::err, spdlog::level::warn, spdlog::level::info,
                                       spdlog::level::debug, spdlog::level::trace};

spdlog::level::level_enum BackendLevel(int level) {
  const int last = static_cast<int>(kBackendLevels.size()) - 1;
  return kBackendLevels[static_cast<size_t>(std::clamp(level, 0, last))];
}

std::shared_ptr<spdlog::logger> MakeBackend() {
  auto logger = std::make_shared<spdlog::logger>("clip-reverse",
                                                 std::make_shared<spdlog::sinks::stderr_sink_mt>());
  logger->set_pattern(kLogPattern);
  logger->set_level(spdlog::level::info);
  // A crash or a kill must not take the last lines with it.
  logger->flush_on(spdlog::level::trace);
  return logger;
}

// Made before `main` runs: a line that tells of want of memory must not be the first.
[[maybe_unused]] const auto& gMadeBeforeMain = LogBackend();

void LogLine(int level, const char* tag, std::string_view text) {
  // Some texts end with a newline of their own; a line of the log has just one.
  while (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  // Joined in the backend's own buffer, which costs no allocation for a line of usual length.
  LogBackend()->log(BackendLevel(level), "[{}] {}", tag, text);
}

[[gnu::format(printf, 3, 0)]] void LogFormatted(int level, const char* tag, const char* format,
                                                va_list args) {
  if (!log_enabled(level)) return;
  std::array<char, 512> shortText;
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(shortText.data(), shortText.size(), format, args);
  if (length < 0) {
    LogLine(level, tag, format);
  } else if (static_cast<size_t>(length) < shortText.size()) {
    LogLine(level, tag, {shortText.data(), static_cast<size_t>(length)});
  } else {
    const size_t size = static_cast<size_t>(length) + 1;
    const std::unique_ptr<char[]> longText(new (std::nothrow) char[size]);
    // The line that tells of want of memory must need none.
    if (longText == nullptr) {
      LogLine(level, tag, shortText.data());
    } else {
      std::vsnprintf(longText.get(), size, format, again);
      LogLine(level, tag, {longText.get(), size - 1});
    }
  }
  va_end(again);
}

}  // namespace

const std::shared_ptr<spdlog::logger>& LogBackend() {
  static const auto* const logger = new std::shared_ptr<spdlog::logger>(MakeBackend());
  return *logger;
}

void log_set_level(int level) { LogBackend()->set_level(BackendLevel(level)); }

bool log_enabled(int level) { return LogBackend()->should_log(BackendLevel(level)); }

void log_text(int level, const char* tag, const char* text) {
  if (log_enabled(level)) LogLine(level, tag, text);
}

void log_error(const char* tag, const char* format, ...) {
  va_list args;
  va_start(args, format);
  LogFormatted(kLogError, tag, format, args);
  va_end(args);
}

void log_warn(const char* tag, const char* format, ...) {
  va_list args;
  va_start(args, format);
  LogFormatted(kLogWarn, tag, format, args);
  va_end(args);
}

void log_info(const char* tag, const char* format, ...) {
  va_list args;
  va_start(args, format);
  LogFormatted(kLogInfo, tag, format, args);
  va_end(args);
}

void log_debug(const char* tag, const char* format, ...) {
  va_list args;
  va_start(args, format);
  LogFormatted(kLogDebug, tag, format, args);
  va_end(args);
}

void log_verbose(const char* tag, const char* format, ...) {
  va_list args;
  va_start(args, format);
  LogFormatted(kLogVerbose, tag, format, args);
  va_end(args);
}
