// SPDX-License-Identifier: MIT
#include "tests/robustness/sandbox.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "app/command_line.h"
#include "app/progress_lines.h"
#include "app/run_driver.h"
#include "codec/ffmpeg/log_bridge.h"
#include "tests/robustness/output_check.h"
#include "tests/support/command.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

// The run driver looks at the progress every 400 ms, which would be all the time that a run takes
// here. Linked in its place.
extern "C" void __wrap__Z5Sleepi(int /*milliseconds*/) {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

namespace test_support {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kLeakedStatus = 101;
constexpr size_t kKeptLogBytes = 65536;

constexpr std::array<const char*, kVerdicts> kVerdictNames = {"reversed",  "refused", "unplayable",
                                                              "uncounted", "silent",  "left behind",
                                                              "crashed",   "hung",    "too large"};

// What a body's exit status says; any other one is a crash.
Verdict VerdictOf(int status) {
  constexpr std::array kKnown = {
      std::pair{kReversedStatus, Verdict::kReversed},
      std::pair{kRefusedStatus, Verdict::kRefused},
      std::pair{kUnplayableStatus, Verdict::kUnplayable},
      std::pair{kUncountedStatus, Verdict::kUncounted},
      std::pair{kLeftBehindStatus, Verdict::kLeftBehind},
  };
  for (const auto& [known, verdict] : kKnown) {
    if (status == known) return verdict;
  }
  return Verdict::kCrashed;
}

bool HasLeaks() {
#if defined(__SANITIZE_ADDRESS__)
  return __lsan_do_recoverable_leak_check() != 0;
#else
  return false;
#endif
}

// Shows the progress as the tool does, and keeps what the run tells.
class WatchedRun : public app::ProgressLines {
 public:
  void OnProgress(const app::Progress& progress) override {
    mTold.seconds = progress.range;
    app::ProgressLines::OnProgress(progress);
  }
  void OnAccount(const codec::JobAccount& account) override { mTold.account = account; }
  const ToldRun& Told() const { return mTold; }

 private:
  ToldRun mTold;
};

bool Exists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

int RunCase(const SandboxCase& one, const std::string& scratch) {
  codec::ffmpeg::InstallLogBridge();
  if (one.body) return one.body(scratch);
  const std::string input = one.input(scratch);
  const std::string output = scratch + "-out" + one.extension;
  std::vector<const char*> words = {"clip-reverse", "-i", input.c_str(), "-o", output.c_str()};
  for (const std::string& option : one.options) words.push_back(option.c_str());
  app::CommandLine line;
  WatchedRun run;
  if (app::ParseCommandLine(static_cast<int>(words.size()), words.data(), &line) != 0 ||
      app::RunReverse(line, &run) != 0) {
    return Exists(output) ? kLeftBehindStatus : kRefusedStatus;
  }
  return StatusOf(line, run.Told());
}

[[noreturn]] void RunBody(const RunLimits& limits, const std::string& logPath,
                          const std::function<int()>& body) {
  const int log = open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(log, STDERR_FILENO);
  const auto cpu = static_cast<rlim_t>(limits.cpuSeconds);
  const rlimit time{cpu, cpu + 1};
  setrlimit(RLIMIT_CPU, &time);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  int status = body();
  if (VerdictOf(status) != Verdict::kCrashed && HasLeaks()) status = kLeakedStatus;
  // The parent's own objects are not this process's to destroy.
  _exit(status);
}

// The end of the log, and whether any line of ours in it is an error.
std::string ReadLog(const std::string& path, bool* hasError) {
  std::ifstream file(path);
  std::string line;
  std::deque<std::string> lines;
  size_t bytes = 0;
  *hasError = false;
  while (std::getline(file, line)) {
    if (line.find(" error   [") != std::string::npos &&
        line.find(" error   [ffmpeg") == std::string::npos) {
      *hasError = true;
    }
    bytes += line.size() + 1;
    lines.push_back(line);
    while (bytes > kKeptLogBytes && lines.size() > 1) {
      bytes -= lines.front().size() + 1;
      lines.pop_front();
    }
  }
  std::string text;
  for (const std::string& kept : lines) text += kept + "\n";
  return text;
}

Verdict Judge(int waitStatus, bool overTime, bool hasError) {
  if (overTime) return Verdict::kHung;
  if (WIFSIGNALED(waitStatus)) {
    return WTERMSIG(waitStatus) == SIGXCPU ? Verdict::kHung : Verdict::kCrashed;
  }
  const Verdict verdict = VerdictOf(WEXITSTATUS(waitStatus));
  return verdict == Verdict::kRefused && !hasError ? Verdict::kSilent : verdict;
}

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// One process under way.
struct Child {
  pid_t pid = 0;
  std::string name;
  std::string scratch;
  RunLimits limits;
  Clock::time_point end;
};

Child Begin(const std::string& name, const std::string& scratch, const RunLimits& limits,
            const std::function<int()>& body) {
  Child child{0, name, scratch, limits, Clock::now() + limits.wallTime};
  child.pid = fork();
  if (child.pid < 0) throw std::runtime_error("fork failed");
  if (child.pid == 0) RunBody(limits, scratch + "-log", body);
  return child;
}

void RemoveScratch(const std::string& scratch) {
  std::error_code ignored;
  for (const fs::path& path : ScratchFiles(scratch)) fs::remove_all(path, ignored);
}

// False while the process goes on.
bool Finish(const Child& child, SandboxResult* result) {
  int status = 0;
  rusage usage{};
  pid_t ended = wait4(child.pid, &status, WNOHANG, &usage);
  bool overTime = false;
  if (ended == 0) {
    if (Clock::now() < child.end) return false;
    overTime = true;
    kill(child.pid, SIGKILL);
    ended = wait4(child.pid, &status, 0, &usage);
  }
  result->name = child.name;
  result->waitStatus = status;
  result->peakMegabytes = usage.ru_maxrss / 1024;
  result->cpuSeconds = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  bool hasError = false;
  result->log = ReadLog(child.scratch + "-log", &hasError);
  result->verdict = Judge(status, overTime, hasError);
  const long most =
      child.limits.peakMegabytes > 0 ? child.limits.peakMegabytes : DefaultPeakMegabytes();
  if (IsGood(result->verdict) && result->peakMegabytes > most) {
    result->verdict = Verdict::kTooLarge;
  }
  result->scratch = child.scratch;
  return true;
}

}  // namespace

std::vector<fs::path> ScratchFiles(const std::string& scratch) {
  const fs::path stem = scratch;
  std::vector<fs::path> files;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(stem.parent_path(), ignored)) {
    const bool isOurs =
        entry.path().filename().string().rfind(stem.filename().string() + "-", 0) == 0;
    if (isOurs) files.push_back(entry.path());
  }
  return files;
}

long DefaultPeakMegabytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return 1536;
#else
  return 512;
#endif
}

const char* VerdictName(Verdict verdict) { return kVerdictNames[static_cast<size_t>(verdict)]; }

bool IsGood(Verdict verdict) {
  return verdict == Verdict::kReversed || verdict == Verdict::kRefused;
}

void RunSandboxed(const std::vector<SandboxCase>& cases, int jobs,
                  const std::function<void(const SandboxResult&)>& done) {
  std::vector<Child> running;
  size_t next = 0;
  while (next < cases.size() || !running.empty()) {
    while (next < cases.size() && running.size() < static_cast<size_t>(std::max(1, jobs))) {
      const SandboxCase& one = cases[next];
      const std::string scratch = ScratchPath("case" + std::to_string(next));
      ++next;
      running.push_back(
          Begin(one.name, scratch, one.limits, [&one, &scratch] { return RunCase(one, scratch); }));
    }
    bool anyEnded = false;
    for (size_t i = 0; i < running.size();) {
      SandboxResult result;
      if (!Finish(running[i], &result)) {
        ++i;
        continue;
      }
      running.erase(running.begin() + static_cast<long>(i));
      anyEnded = true;
      done(result);
      RemoveScratch(result.scratch);
    }
    if (!anyEnded) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

SandboxResult RunInChild(const std::string& name, const RunLimits& limits,
                         const std::function<int()>& body) {
  const Child child = Begin(name, ScratchPath("child"), limits, body);
  SandboxResult result;
  while (!Finish(child, &result)) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  RemoveScratch(child.scratch);
  return result;
}

}  // namespace test_support
