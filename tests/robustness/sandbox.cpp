// SPDX-License-Identifier: MIT
#include "tests/robustness/sandbox.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "app/run_driver.h"
#include "base/log.h"
#include "codec/ffmpeg/compat.h"
#include "codec/ffmpeg/log_bridge.h"
#include "codec/ffmpeg/owned.h"
#include "tests/support/command.h"
#include "tests/support/picture_count.h"

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

constexpr std::array<const char*, kVerdicts> kVerdictNames = {
    "reversed", "refused", "unplayable", "uncounted", "silent", "crashed", "hung", "too large"};

// Whether the first picture that this stream's packets hold comes out of its decoder.
class FirstPicture {
 public:
  explicit FirstPicture(const AVStream* stream) {
    const AVCodec* const codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (codec == nullptr) return;
    mDecoder = codec::ffmpeg::NewDecoder(stream, codec);
    if (mDecoder != nullptr && avcodec_open2(mDecoder.get(), codec, nullptr) < 0) mDecoder.reset();
  }

  // Null at the end of the stream.
  void Send(const AVPacket* packet) {
    if (mDecoder == nullptr || mFound) return;
    avcodec_send_packet(mDecoder.get(), packet);
    mFound = avcodec_receive_frame(mDecoder.get(), mFrame.get()) >= 0;
  }
  bool Found() const { return mFound; }

 private:
  codec::ffmpeg::UniqueCodecContext mDecoder;
  codec::ffmpeg::UniqueFrame mFrame{av_frame_alloc()};
  bool mFound = false;
};

bool HasLeaks() {
#if defined(__SANITIZE_ADDRESS__)
  return __lsan_do_recoverable_leak_check() != 0;
#else
  return false;
#endif
}

// Leaves its account behind.
class WatchedJob : public codec::Reverse {
 public:
  WatchedJob(const app::CommandLine& line, codec::JobAccount* account, double* seconds)
      : Reverse(line.input.c_str(), line.start, line.end, line.output.c_str()),
        mAccount(account),
        mSeconds(seconds) {}
  ~WatchedJob() override {
    *mAccount = Account();
    *mSeconds = RangeSeconds();
  }

 private:
  codec::JobAccount* const mAccount;
  double* const mSeconds;
};

// Every picture that FFmpeg decodes is in the output or counted as lost.
bool IsCounted(const app::CommandLine& line, const codec::JobAccount& account, double seconds) {
  const bool isWhole = line.start == 0 && line.end == 0;
  const int64_t decodable = isWhole ? CountDecodable(line.input, seconds) : 0;
  const int64_t written = CountPackets(line.output);
  if (written == account.pictures && written + account.lost.Count() >= decodable) return true;
  log_error("test", "decodable %lld, in the output %lld, written %lld, lost %lld",
            static_cast<long long>(decodable), static_cast<long long>(written),
            static_cast<long long>(account.pictures), static_cast<long long>(account.lost.Count()));
  return false;
}

int RunCase(const SandboxCase& one, const std::string& scratch) {
  codec::ffmpeg::InstallLogBridge();
  if (one.body) return one.body(scratch);
  app::CommandLine line;
  line.input = one.input(scratch);
  line.output = scratch + "-out.mp4";
  line.start = one.start;
  line.end = one.end;
  codec::JobAccount account;
  double seconds = 0;
  auto job = std::make_unique<WatchedJob>(line, &account, &seconds);
  app::SwitchOnAdditions(line, job.get());
  if (app::RunJob(std::move(job), line) != 0) return kRefusedStatus;
  if (!IsPlayable(line.output)) return kUnplayableStatus;
  return IsCounted(line, account, seconds) ? kReversedStatus : kUncountedStatus;
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
  if ((status == kReversedStatus || status == kUncountedStatus || status == kUnplayableStatus ||
       status == kRefusedStatus) &&
      HasLeaks()) {
    status = kLeakedStatus;
  }
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
  switch (WEXITSTATUS(waitStatus)) {
    case kReversedStatus:
      return Verdict::kReversed;
    case kUnplayableStatus:
      return Verdict::kUnplayable;
    case kUncountedStatus:
      return Verdict::kUncounted;
    case kRefusedStatus:
      return hasError ? Verdict::kRefused : Verdict::kSilent;
    default:
      return Verdict::kCrashed;
  }
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
  const fs::path stem = scratch;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(stem.parent_path(), ignored)) {
    if (entry.path().filename().string().rfind(stem.filename().string() + "-", 0) == 0) {
      fs::remove_all(entry.path(), ignored);
    }
  }
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
  RemoveScratch(child.scratch);
  return true;
}

}  // namespace

bool IsPlayable(const std::string& path) {
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return false;
  const codec::ffmpeg::UniqueInput input(context);
  const int video = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (video < 0) return false;
  FirstPicture picture(context->streams[video]);
  std::map<int, int64_t> missing;
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    missing[static_cast<int>(i)] = context->streams[i]->nb_frames;
  }
  const codec::ffmpeg::UniquePacket packet(av_packet_alloc());
  while (av_read_frame(context, packet.get()) >= 0) {
    const codec::ffmpeg::PacketGuard guard(packet.get());
    if ((packet->flags & AV_PKT_FLAG_CORRUPT) != 0) return false;
    --missing[packet->stream_index];
    if (packet->stream_index == video) picture.Send(packet.get());
  }
  picture.Send(nullptr);
  return picture.Found() && std::all_of(missing.begin(), missing.end(),
                                        [](const auto& row) { return row.second == 0; });
}

long DefaultPeakMegabytes() {
#if defined(__SANITIZE_ADDRESS__)
  return 1536;
#else
  return 512;
#endif
}

const char* VerdictName(Verdict verdict) { return kVerdictNames[static_cast<size_t>(verdict)]; }

bool IsGood(Verdict verdict) {
  return verdict == Verdict::kReversed || verdict == Verdict::kRefused;
}

void Tally::Add(const SandboxResult& result) {
  ++counts[static_cast<size_t>(result.verdict)];
  if (result.peakMegabytes > peakMegabytes) {
    peakMegabytes = result.peakMegabytes;
    largest = result.name;
  }
  if (result.cpuSeconds > longestCpuSeconds) {
    longestCpuSeconds = result.cpuSeconds;
    longest = result.name;
  }
}

int64_t Tally::Tried() const { return std::accumulate(counts.begin(), counts.end(), int64_t{0}); }

int64_t Tally::Bad() const {
  int64_t bad = 0;
  for (size_t i = 0; i < kVerdicts; ++i) {
    if (!IsGood(static_cast<Verdict>(i))) bad += counts[i];
  }
  return bad;
}

std::string Tally::Heading() {
  return "input                  tried reversed  refused unplayable uncounted silent crashed   "
         "hung "
         "too large  peak MB  longest s";
}

std::string Tally::Row(const std::string& title) const {
  std::array<char, 256> row{};
  std::snprintf(row.data(), row.size(),
                "%-20s %7lld %8lld %8lld %10lld %9lld %6lld %7lld %6lld %9lld %8ld %10.2f",
                title.c_str(), static_cast<long long>(Tried()), static_cast<long long>(counts[0]),
                static_cast<long long>(counts[1]), static_cast<long long>(counts[2]),
                static_cast<long long>(counts[3]), static_cast<long long>(counts[4]),
                static_cast<long long>(counts[5]), static_cast<long long>(counts[6]),
                static_cast<long long>(counts[7]), peakMegabytes, longestCpuSeconds);
  return row.data();
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
    }
    if (!anyEnded) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

SandboxResult RunInChild(const std::string& name, const RunLimits& limits,
                         const std::function<int()>& body) {
  const Child child = Begin(name, ScratchPath("child"), limits, body);
  SandboxResult result;
  while (!Finish(child, &result)) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  return result;
}

}  // namespace test_support
