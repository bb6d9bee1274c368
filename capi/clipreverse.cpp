// SPDX-License-Identifier: MIT
// The border of the C interface: no null pointer and no exception passes it.
#include "include/clipreverse.h"

#include <exception>
#include <new>

#include "app/version.h"
#include "capi/job.h"
#include "capi/log_route.h"
#include "capi/write_signals.h"

struct clipreverse_job {
  capi::Job job;
};

namespace {

constexpr char kNoMemory[] = "there is no memory for the call; end other programs";

// Runs `body`, which may throw, with the job. What it throws is a failure of the job.
template <typename Body>
int Bordered(clipreverse_job* handle, const Body& body) noexcept {
  if (handle == nullptr) return CLIPREVERSE_ERROR_ARGUMENT;
  capi::Job& job = handle->job;
  const capi::WriteSignals signals;
  try {
    return body(job);
  } catch (const std::bad_alloc&) {
    return job.FailBriefly(CLIPREVERSE_ERROR_MEMORY, kNoMemory);
  } catch (const std::exception&) {
    return job.FailBriefly(CLIPREVERSE_ERROR_HOST,
                           "the host refused something; the log may say more");
  } catch (...) {
    return job.FailBriefly(CLIPREVERSE_ERROR_HOST, "a callback has thrown an exception");
  }
}

int FailArgument(clipreverse_job* handle, const char* text) noexcept {
  return handle == nullptr ? int{CLIPREVERSE_ERROR_ARGUMENT}
                           : handle->job.FailBriefly(CLIPREVERSE_ERROR_ARGUMENT, text);
}

}  // namespace

int clipreverse_version(void) { return CLIPREVERSE_VERSION; }

const char* clipreverse_version_text(void) { return app::kVersion; }

int clipreverse_set_log(int level, clipreverse_log_callback callback, void* user) {
  try {
    return capi::SetLogCallback(level, callback, user);
  } catch (...) {
    return CLIPREVERSE_ERROR_MEMORY;
  }
}

clipreverse_job* clipreverse_create(void) {
  try {
    capi::RouteLog();
    return new clipreverse_job;
  } catch (...) {
    return nullptr;
  }
}

void clipreverse_free(clipreverse_job* job) {
  const capi::WriteSignals signals;
  delete job;
}

int clipreverse_set_input(clipreverse_job* job, const char* path) {
  if (path == nullptr) return FailArgument(job, "the path of the input is null");
  return Bordered(job, [path](capi::Job& j) { return j.SetInput(path); });
}

int clipreverse_set_output(clipreverse_job* job, const char* path) {
  if (path == nullptr) return FailArgument(job, "the path of the output is null");
  return Bordered(job, [path](capi::Job& j) { return j.SetOutput(path); });
}

int clipreverse_set_range(clipreverse_job* job, double start, double end) {
  return Bordered(job, [=](capi::Job& j) { return j.SetRange(start, end); });
}

int clipreverse_set_option(clipreverse_job* job, const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return FailArgument(job, "a key or its value is null");
  return Bordered(job, [=](capi::Job& j) { return j.SetOption(key, value); });
}

int clipreverse_set_progress(clipreverse_job* job, clipreverse_progress_callback callback,
                             void* user) {
  return Bordered(job, [=](capi::Job& j) { return j.SetProgress(callback, user); });
}

int clipreverse_start(clipreverse_job* job) {
  return Bordered(job, [](capi::Job& j) { return j.Start(); });
}

int clipreverse_wait(clipreverse_job* job, int milliseconds) {
  return Bordered(job, [milliseconds](capi::Job& j) { return j.Wait(milliseconds); });
}

int clipreverse_cancel(clipreverse_job* job) {
  if (job == nullptr) return CLIPREVERSE_ERROR_ARGUMENT;
  job->job.Cancel();
  return CLIPREVERSE_OK;
}

int clipreverse_get(clipreverse_job* job, const char* name, double* value) {
  if (name == nullptr || value == nullptr) return FailArgument(job, "a name or its value is null");
  return Bordered(job, [=](capi::Job& j) { return j.Get(name, value); });
}

int clipreverse_error(const clipreverse_job* job) {
  return job == nullptr ? int{CLIPREVERSE_ERROR_ARGUMENT} : job->job.Error();
}

const char* clipreverse_error_text(const clipreverse_job* job) {
  return job == nullptr ? "there is no job" : job->job.ErrorText();
}
