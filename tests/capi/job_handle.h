// SPDX-License-Identifier: MIT
// A job of the C interface that is freed with its scope.
#pragma once

#include <clipreverse.h>

#include <string>

namespace test_support {

class JobHandle {
 public:
  JobHandle() : mJob(clipreverse_create()) {}
  // With input and output.
  JobHandle(const std::string& input, const std::string& output) : JobHandle() {
    clipreverse_set_input(mJob, input.c_str());
    clipreverse_set_output(mJob, output.c_str());
  }
  ~JobHandle() { clipreverse_free(mJob); }
  JobHandle(const JobHandle&) = delete;
  JobHandle& operator=(const JobHandle&) = delete;

  // For the functions of the interface.
  operator clipreverse_job*() const { return mJob; }  // NOLINT(google-explicit-constructor)

  int Set(const char* key, const char* value) { return clipreverse_set_option(mJob, key, value); }
  std::string ErrorText() const { return clipreverse_error_text(mJob); }
  double Get(const char* name) const {
    double value = -1;
    clipreverse_get(mJob, name, &value);
    return value;
  }
  // Starts the job and waits for its end, which is what it gives.
  int Run() {
    const int code = clipreverse_start(mJob);
    return code == CLIPREVERSE_OK ? clipreverse_wait(mJob, -1) : code;
  }

 private:
  clipreverse_job* const mJob;
};

}  // namespace test_support
