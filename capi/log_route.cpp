// SPDX-License-Identifier: MIT
#include "capi/log_route.h"

#include <spdlog/sinks/sink.h>

#include <memory>
#include <mutex>
#include <string>

#include "base/lock.h"
#include "base/log.h"
#include "base/log_backend.h"
#include "codec/ffmpeg/log_bridge.h"

namespace capi {
namespace {

// A callback that logs, or asks for another callback, would wait for itself.
thread_local bool tIsSpeaking = false;

int LevelOf(spdlog::level::level_enum level) {
  switch (level) {
    case spdlog::level::err:
    case spdlog::level::critical:
      return CLIPREVERSE_LOG_ERROR;
    case spdlog::level::warn:
      return CLIPREVERSE_LOG_WARNING;
    case spdlog::level::info:
      return CLIPREVERSE_LOG_INFO;
    case spdlog::level::debug:
      return CLIPREVERSE_LOG_DEBUG;
    default:
      return CLIPREVERSE_LOG_VERBOSE;
  }
}

// The only sink. It stays, because the logger's list of sinks may not change while threads log.
class CallbackSink : public spdlog::sinks::sink {
 public:
  void Set(clipreverse_log_callback callback, void* user) {
    const but::HeldLock held(&mLock);
    mCallback = callback;
    mUser = user;
  }

  void log(const spdlog::details::log_msg& message) override {
    if (tIsSpeaking) return;
    const but::HeldLock held(&mLock);
    if (mCallback == nullptr) return;
    tIsSpeaking = true;
    try {
      mLine.assign(message.payload.data(), message.payload.size());
      mCallback(mUser, LevelOf(message.level), mLine.c_str());
    } catch (...) {
      // The logger would write of it to a standard stream.
    }
    tIsSpeaking = false;
  }
  void flush() override {}
  void set_pattern(const std::string& /*pattern*/) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter> /*formatter*/) override {}

 private:
  but::Mutex mLock;
  clipreverse_log_callback mCallback BUT_UNDER(mLock) = nullptr;
  void* mUser BUT_UNDER(mLock) = nullptr;
  std::string mLine BUT_UNDER(mLock);
};

// Never destroyed: threads of a job may outlive the program's main function.
const std::shared_ptr<CallbackSink>& Sink() {
  static const auto* const sink =
      new std::shared_ptr<CallbackSink>(std::make_shared<CallbackSink>());
  return *sink;
}

}  // namespace

void RouteLog() {
  static std::once_flag once;
  std::call_once(once, [] {
    LogBackend()->sinks() = {Sink()};
    log_set_level(kLogError);
    codec::ffmpeg::InstallLogBridge();
  });
}

int SetLogCallback(int level, clipreverse_log_callback callback, void* user) {
  if (tIsSpeaking) return CLIPREVERSE_ERROR_STATE;
  RouteLog();
  log_set_level(callback == nullptr ? kLogError : level);
  Sink()->Set(callback, user);
  return CLIPREVERSE_OK;
}

}  // namespace capi
