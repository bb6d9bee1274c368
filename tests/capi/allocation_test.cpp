// SPDX-License-Identifier: MIT
// Each allocation of a thread that calls the C interface fails once: no call throws, and each says
// what has happened. A program of its own, because it replaces the operators of the whole process.
#include <clipreverse.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>

namespace {

// Allocations of this thread that may still pass; below 0 for all of them.
thread_local long tPassing = -1;
thread_local bool tHasFailed = false;

bool Fails() {
  if (tPassing < 0 || tPassing-- > 0) return false;
  tHasFailed = true;
  return true;
}

}  // namespace

void* operator new(size_t bytes) {
  void* const memory = Fails() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(size_t bytes, const std::nothrow_t&) noexcept {
  return Fails() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
}
void* operator new[](size_t bytes) { return operator new(bytes); }
void* operator new[](size_t bytes, const std::nothrow_t& nothrow) noexcept {
  return operator new(bytes, nothrow);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

namespace {

// All calls of one job after `passing` allocations. The first answer that is no success.
int RunJob(const char* input, const char* output, long passing) {
  clipreverse_job* job = nullptr;
  tHasFailed = false;
  tPassing = passing;
  int code = clipreverse_set_log(CLIPREVERSE_LOG_ERROR, nullptr, nullptr);
  if (code == CLIPREVERSE_OK) {
    job = clipreverse_create();
    code = job == nullptr ? CLIPREVERSE_ERROR_MEMORY : CLIPREVERSE_OK;
  }
  if (code == CLIPREVERSE_OK) code = clipreverse_set_input(job, input);
  if (code == CLIPREVERSE_OK) code = clipreverse_set_output(job, output);
  if (code == CLIPREVERSE_OK) code = clipreverse_set_range(job, 0, 0.2);
  if (code == CLIPREVERSE_OK) code = clipreverse_set_option(job, "video-opt:tune", "zerolatency");
  if (code == CLIPREVERSE_OK) code = clipreverse_set_option(job, "thread-count", "1");
  if (code == CLIPREVERSE_OK) code = clipreverse_start(job);
  if (code == CLIPREVERSE_OK) code = clipreverse_wait(job, -1);
  tPassing = -1;
  if (code != CLIPREVERSE_OK && job != nullptr && *clipreverse_error_text(job) == '\0') {
    std::printf("no text for %d after %ld allocations\n", code, passing);
    code = 1;
  }
  clipreverse_free(job);
  return code;
}

}  // namespace

// allocation_test INPUT OUTPUT
int main(int argc, char** argv) {
  if (argc != 3) return 2;
  // The first job of a process makes what all jobs share, once.
  if (RunJob(argv[1], argv[2], -1) != CLIPREVERSE_OK) return 1;
  int refused = 0;
  int failures = 0;
  for (long passing = 0;; ++passing) {
    std::filesystem::remove(argv[2]);
    const int code = RunJob(argv[1], argv[2], passing);
    if (!tHasFailed) break;
    refused += code != CLIPREVERSE_OK ? 1 : 0;
    // What the job can do without is no failure; any other answer has to be one of a host.
    const bool isHonest = code == CLIPREVERSE_OK ? std::filesystem::exists(argv[2])
                                                 : !std::filesystem::exists(argv[2]) && code < 0;
    if (isHonest) continue;
    std::printf("%d after %ld allocations\n", code, passing);
    ++failures;
  }
  std::printf("%d of the allocations refused, %d failures\n", refused, failures);
  return failures == 0 && refused > 50 ? 0 : 1;
}
