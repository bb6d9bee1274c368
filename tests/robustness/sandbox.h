// SPDX-License-Identifier: MIT
// Runs reversals, each in a process of its own, and tells how they ended.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace test_support {

// Every run must keep to these.
struct RunLimits {
  int cpuSeconds = 30;
  std::chrono::seconds wallTime{600};
  long peakMegabytes = 0;  // resident; 0 for DefaultPeakMegabytes()
};

// 512, or 1536 with a sanitizer, which keeps freed memory and shadows the rest.
long DefaultPeakMegabytes();

struct SandboxCase {
  std::string name;
  // Both are called in the run's own process and may write to paths that begin with `scratch` and
  // "-", which nobody else uses meanwhile. `input` gives the path of what is to be reversed; where
  // there is a `body`, it is run instead of a reversal and gives the exit status.
  std::function<std::string(const std::string& scratch)> input;
  std::function<int(const std::string& scratch)> body = nullptr;
  // What stands on the command line beside the names of input and output.
  std::vector<std::string> options = {};
  std::string extension = ".mp4";  // of the output
  RunLimits limits = {};
};

// Exit statuses of a body.
constexpr int kReversedStatus = 0;
constexpr int kUnplayableStatus = 100;
constexpr int kUncountedStatus = 102;
constexpr int kLeftBehindStatus = 103;
constexpr int kRefusedStatus = 255;

enum class Verdict {
  kReversed,    // status 0, and the output can be played
  kRefused,     // status -1, and an error line says why
  kUnplayable,  // status 0, but the output lacks packets, or pictures at all
  kUncounted,   // status 0, but the output is not what the job's account tells, or pictures are
                // missing that it does not tell as lost, or it tells losses of a strict run
  kSilent,      // status -1 without an error line
  kLeftBehind,  // status -1, but there is an output
  kCrashed,     // a signal, a sanitizer's finding, a leak, another exit status
  kHung,        // over a limit of time
  kTooLarge,    // over the limit of memory
};
constexpr size_t kVerdicts = 9;
const char* VerdictName(Verdict verdict);
// Whether a run that meets any input may end like this.
bool IsGood(Verdict verdict);

struct SandboxResult {
  std::string name;
  Verdict verdict = Verdict::kCrashed;
  int waitStatus = 0;
  long peakMegabytes = 0;
  double cpuSeconds = 0;
  std::string log;  // the end of what was written to standard error
  // What the paths of its files begin with, before "-". They are removed after `done`.
  std::string scratch = {};
};

// The files and folders of a run.
std::vector<std::filesystem::path> ScratchFiles(const std::string& scratch);

// Runs all cases, `jobs` at a time. `done` is called for each, in the order in which they end.
void RunSandboxed(const std::vector<SandboxCase>& cases, int jobs,
                  const std::function<void(const SandboxResult&)>& done);

// Runs `body` in a process of its own under these limits; its result is the exit status.
SandboxResult RunInChild(const std::string& name, const RunLimits& limits,
                         const std::function<int()>& body);

}  // namespace test_support
