// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/log_bridge.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "base/log.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec::ffmpeg {
namespace {

// A line is passed on at this length even when its newline has not come.
constexpr size_t kLongestLine = 4096;

int OurLevel(int ffmpegLevel) {
  if (ffmpegLevel <= AV_LOG_ERROR) return kLogError;
  if (ffmpegLevel <= AV_LOG_WARNING) return kLogWarn;
  if (ffmpegLevel <= AV_LOG_INFO) return kLogDebug;
  return kLogVerbose;
}

// A remark on how swscale is called, once for each picture of a full-range clip. The range is set
// correctly, and a user can do nothing about it.
constexpr char kRemark[] = "deprecated pixel format used";

std::string TagOf(void* speaker) {
  const AVClass* const* object = static_cast<const AVClass* const*>(speaker);
  if (object == nullptr || *object == nullptr) return "ffmpeg";
  const auto itemName = (*object)->item_name;
  return std::string("ffmpeg:") +
         (itemName != nullptr ? itemName(speaker) : av_default_item_name(speaker));
}

// A newline that FFmpeg put between two sentences, unlike one in a name, begins a line.
bool HasLines(const char* format) {
  const char* const newline = std::strchr(format, '\n');
  return newline != nullptr && newline[1] != '\0';
}

void LogLines(int level, const std::string& tag, std::string lines) {
  char* rest = nullptr;
  for (char* line = strtok_r(lines.data(), "\n", &rest); line != nullptr;
       line = strtok_r(nullptr, "\n", &rest)) {
    log_text(level, tag.c_str(), line);
  }
}

[[gnu::format(printf, 3, 0)]] void OnLine(void* speaker, int level, const char* format,
                                          va_list args) {
  // The higher bits of a level ask for a colour.
  if (level >= 0) level &= 0xff;
  if (level == AV_LOG_WARNING && std::strstr(format, kRemark) != nullptr) level = AV_LOG_INFO;
  // FFmpeg's trace level prints whole packets; it says nothing about a run.
  if (level > AV_LOG_DEBUG || !log_enabled(OurLevel(level))) return;
  std::array<char, 1024> text;
  const int length = std::vsnprintf(text.data(), text.size(), format, args);
  if (length < 0) return;
  // A piece that did not fit has lost its newline; nothing may be joined to it.
  const bool cut = static_cast<size_t>(length) >= text.size();

  // FFmpeg builds some lines piece by piece; they are joined until the newline comes. Each thread
  // has its own unfinished line, because decoder threads speak at the same time.
  thread_local std::string line;
  thread_local std::string last;
  try {
    line += text.data();
    if (line.empty() || (line.back() != '\n' && !cut && line.size() < kLongestLine)) return;
    // A decoder may say the same of each block of a damaged picture.
    const bool isRepeated = line == last && level <= AV_LOG_WARNING;
    const int ourLevel = isRepeated ? kLogDebug : OurLevel(level);
    if (HasLines(format)) {
      LogLines(ourLevel, TagOf(speaker), line);
    } else {
      log_text(ourLevel, TagOf(speaker).c_str(), line.c_str());
    }
    last.swap(line);
  } catch (const std::bad_alloc&) {
    // FFmpeg, which is between here and whoever could catch it, cannot pass it on.
  }
  line.clear();
}

}  // namespace

void InstallLogBridge() { av_log_set_callback(&OnLine); }

}  // namespace codec::ffmpeg
