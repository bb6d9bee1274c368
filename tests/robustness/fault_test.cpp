// SPDX-License-Identifier: MIT
// Every call that can fail is made to fail, at several places of several whole runs, each in a
// process of its own.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "app/run_driver.h"
#include "base/guarded.h"
#include "codec/ffmpeg/owned.h"
#include "tests/codec/filter/png_file.h"
#include "tests/faults/faults.h"
#include "tests/robustness/corpus.h"
#include "tests/robustness/sandbox.h"
#include "tests/robustness/tally.h"
#include "tests/support/access_list.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

// A run that meets some of the calls.
struct Scene {
  std::string name;
  std::string input;
  std::map<std::string, std::string> parameters;  // of the output
  bool replaces = false;                          // a file that stands at the output
  bool mirrors = false;
};

std::vector<std::string> Drawn(const std::string& size, const std::string& seconds,
                               const std::vector<std::string>& rest) {
  std::vector<std::string> words = {"-f", "lavfi", "-i", "testsrc2=size=" + size + ":rate=25",
                                    "-f", "lavfi", "-i", "sine=sample_rate=44100"};
  words.insert(words.end(), rest.begin(), rest.end());
  words.insert(words.end(), {"-t", seconds});
  return words;
}

// A clip of several steps whose one group of pictures is replayed, with a turn for the player.
Scene Plain() {
  const std::string upright =
      CustomClip("fault_upright.mp4", Drawn("64x48", "2.2", {"-c:v", "libx264", "-g", "100"}));
  return {"plain", TurnedCopy(upright, "fault_turned.mp4", 48), {}};
}

// Pictures that are converted, scaled and turned, with an encoder thread.
Scene Scaled() {
  return {
      "scaled",
      CustomClip("fault_422.avi", Drawn("64x48", "1.4", {"-pix_fmt", "yuv422p", "-c:v", "ffv1"})),
      {{"target-width", "32"}, {"target-height", "32"}, {"rotation", "90"}, {"use-thread", "1"}}};
}

// A logo on pictures of four bytes.
Scene Stamped() {
  static const std::string logo =
      codec::testing::WritePng("fault_logo.png", 16, 16, {PNG_COLOR_TYPE_RGB, 8, false},
                               std::vector<uint8_t>(size_t{16} * 16 * 3, 90));
  return {
      "stamped",
      CustomClip("fault_bgra.avi", Drawn("64x48", "1.4", {"-pix_fmt", "bgra", "-c:v", "rawvideo"})),
      {{"has-water-mark", "1"},
       {"logo-path", logo},
       {"water-mark-pos", "1"},
       {"water-mark-rotation", "90"}}};
}

// A clip of a moment that takes the place of an old file.
Scene Replacing() {
  Scene scene = {
      "replacing", CustomClip("fault_short.mp4", Drawn("64x48", "0.4", {"-c:v", "libx264"})), {}};
  scene.replaces = true;
  return scene;
}

// Pictures and sound as a player shows them. The sound is read through an input of its own.
Scene Mirrored() {
  Scene scene = {"mirrored",
                 CustomClip("fault_mirrored.mkv",
                            Drawn("64x48", "2.2", {"-c:v", "libx264", "-g", "20", "-c:a", "aac"})),
                 {}};
  scene.mirrors = true;
  return scene;
}

// The output of a scene: the only file of its folder, an old one at first where it is replaced.
// The old one has an access list and, if root is there to give it away, another owner, who may not
// even read it.
class Output {
 public:
  Output(const Scene& scene, const std::string& scratch)
      : mReplaces(scene.replaces), mFolder(scratch + "-folder"), mPath(mFolder + "/out.mp4") {
    std::filesystem::remove_all(mFolder);
    std::filesystem::create_directory(mFolder);
    if (!mReplaces) return;
    WriteBytes(mPath, kOldBytes);
    PutAccessList(mPath);
    if (!CanGiveAway()) return;
    EXPECT_EQ(chmod(mPath.c_str(), 0266), 0);
    EXPECT_EQ(chown(mPath.c_str(), 4711, 4711), 0);
  }
  ~Output() { std::filesystem::remove_all(mFolder); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  static bool CanGiveAway() { return geteuid() == 0; }

  const std::string& Path() const { return mPath; }
  // Whether the folder is as it was before the run.
  bool IsUntouched() const {
    for (const auto& entry : std::filesystem::directory_iterator(mFolder)) {
      if (!mReplaces || entry.path() != mPath) return false;
    }
    return !mReplaces || ReadBytes(mPath) == kOldBytes;
  }

 private:
  static constexpr char kOldBytes[] = "old";
  const bool mReplaces;
  const std::string mFolder;
  const std::string mPath;
};

// What a run tells the test.
struct Report {
  int64_t calls[kFaultCalls];
  int64_t packets;
  int64_t failed;
};

// Shared by the runs' processes with this one, all zero at first.
class Reports {
 public:
  explicit Reports(size_t count) : mBytes(count * sizeof(Report)) {
    mReports = static_cast<Report*>(
        mmap(nullptr, mBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  }
  ~Reports() { munmap(mReports, mBytes); }
  Reports(const Reports&) = delete;
  Reports& operator=(const Reports&) = delete;

  Report& operator[](size_t index) { return mReports[index]; }

 private:
  const size_t mBytes;
  Report* mReports;
};

int64_t PacketsOf(const std::string& path) {
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return -1;
  const codec::ffmpeg::UniqueInput input(context);
  const codec::ffmpeg::UniquePacket packet(av_packet_alloc());
  int64_t packets = 0;
  for (; av_read_frame(context, packet.get()) >= 0; ++packets) av_packet_unref(packet.get());
  return packets;
}

int RunScene(const Scene& scene, const std::string& output) {
  return but::Guarded("main", [&] {
    auto job = std::make_unique<codec::Reverse>(scene.input.c_str(), 0, 0, output.c_str());
    job->SetSafeOutput(scene.replaces);
    job->SetMirror(scene.mirrors);
    for (const auto& [key, value] : scene.parameters) {
      job->SetOutputParameter(key.c_str(), value.c_str());
    }
    return app::RunJob(std::move(job), {scene.input, output, 0, 0});
  });
}

// A failing call: which, after how many, and whether all that follow fail as well.
struct Place {
  FaultCall call;
  int64_t passing;
  bool always;
};

std::string NameOf(const Scene& scene, const Place& place) {
  return scene.name + " " + FaultCallName(place.call) + " " + std::to_string(place.passing) +
         (place.always ? " and on" : "");
}

RunLimits Limits() {
  RunLimits limits;
  limits.cpuSeconds = 20;
  limits.wallTime = std::chrono::seconds(300);
  return limits;
}

SandboxCase CaseOf(const Scene& scene, const Place& place, int64_t packets, Report* report) {
  SandboxCase one;
  one.name = NameOf(scene, place);
  one.limits = Limits();
  one.body = [&scene, place, packets, report](const std::string& scratch) {
    const Output output(scene, scratch);
    int result = 0;
    {
      Fault fault(place.call, place.passing);
      if (!place.always) fault.Once();
      result = RunScene(scene, output.Path());
      report->failed = fault.Failed();
    }
    if (result != 0) return output.IsUntouched() ? kRefusedStatus : kUnplayableStatus;
    report->packets = PacketsOf(output.Path());
    return report->packets == packets ? kReversedStatus : kUnplayableStatus;
  };
  return one;
}

// How a run may go on that has met a failing call. Without a row here it has to end with -1.
enum class Outcome {
  kRefused,
  kWhole,         // as if nothing had been
  kWholeAndTold,  // with a warning or an error line
  kLessAndTold,   // what is missing was told of
};
struct Survivor {
  FaultCall call;
  Outcome most;
};
#define SURVIVING_CONVERTER(name, arguments, failure) {FaultCall::name, Outcome::kLessAndTold},
constexpr Survivor kSurvivors[] = {
    // Pictures are decoded again instead of being replayed.
    {FaultCall::av_frame_clone, Outcome::kWhole},
    {FaultCall::av_packet_clone, Outcome::kWhole},
    {FaultCall::av_packet_alloc, Outcome::kWhole},
    // Pictures are copied for the encoder.
    {FaultCall::av_buffer_create, Outcome::kWhole},
    // Reading begins further ahead.
    {FaultCall::av_seek_frame, Outcome::kWhole},
    {FaultCall::avformat_seek_file, Outcome::kLessAndTold},
    // A sum that fails for impossible sizes alone; the size is taken to be small.
    {FaultCall::av_image_get_buffer_size, Outcome::kWhole},
    // The last one is that of a file that is closed already.
    {FaultCall::avio_closep, Outcome::kWhole},
    // The sound's rate is taken to be one that the encoder has.
    {FaultCall::avcodec_find_encoder_by_name, Outcome::kWhole},
    // The file gets a hidden name.
    {FaultCall::openat, Outcome::kWhole},
    // There are more buffers in the pool; and lines of FFmpeg's for which there is no memory are
    // left out of the log.
    {FaultCall::malloc, Outcome::kWhole},
    {FaultCall::operator_new, Outcome::kWhole},
    // What was to run beside runs in turn.
    {FaultCall::pthread_create, Outcome::kWholeAndTold},
    // It waits again.
    {FaultCall::pthread_cond_wait, Outcome::kWhole},
    // A picture is passed on as it is.
    {FaultCall::sws_getContext, Outcome::kWholeAndTold},
    {FaultCall::sws_scale, Outcome::kWholeAndTold},
    // A frame is dropped.
    {FaultCall::av_image_fill_arrays, Outcome::kLessAndTold},
    {FaultCall::av_samples_get_buffer_size, Outcome::kLessAndTold},
    // Sound that cannot be decoded is left out.
    {FaultCall::av_find_best_stream, Outcome::kLessAndTold},
    {FaultCall::avcodec_find_decoder, Outcome::kLessAndTold},
    {FaultCall::avcodec_alloc_context3, Outcome::kLessAndTold},
    {FaultCall::avcodec_parameters_to_context, Outcome::kLessAndTold},
    {FaultCall::avcodec_open2, Outcome::kLessAndTold},
    {FaultCall::av_dict_set, Outcome::kLessAndTold},
    {FaultCall::swr_init, Outcome::kLessAndTold},
    FAULT_TABLE_OF_CONVERTERS(SURVIVING_CONVERTER)};

Outcome MostFor(FaultCall call) {
  for (const Survivor& row : kSurvivors) {
    if (row.call == call) return row.most;
  }
  return Outcome::kRefused;
}

// The warnings and errors in a log, without their times.
std::set<std::string> Complaints(const std::string& log) {
  std::set<std::string> complaints;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    for (const char* level : {" error   [", " warning ["}) {
      const size_t at = line.find(level);
      if (at != std::string::npos) complaints.insert(line.substr(at));
    }
  }
  return complaints;
}

// A scene with what a run without a fault gave.
struct Counted {
  Scene scene;
  Report report;
  std::set<std::string> complaints;
};

Counted Count(const Scene& scene) {
  Reports reports(1);
  Counted counted{scene, {}, {}};
  SandboxCase one;
  one.name = scene.name;
  one.limits = Limits();
  one.body = [&](const std::string& scratch) {
    const Output output(scene, scratch);
    Report& report = reports[0];
    for (int i = 0; i < kFaultCalls; ++i) {
      report.calls[i] = -FaultCallCount(static_cast<FaultCall>(i));
    }
    if (RunScene(scene, output.Path()) != 0) return kRefusedStatus;
    for (int i = 0; i < kFaultCalls; ++i) {
      report.calls[i] += FaultCallCount(static_cast<FaultCall>(i));
    }
    report.packets = PacketsOf(output.Path());
    return kReversedStatus;
  };
  RunSandboxed({one}, 1, [&counted](const SandboxResult& result) {
    EXPECT_EQ(result.verdict, Verdict::kReversed) << result.name << "\n" << result.log;
    counted.complaints = Complaints(result.log);
  });
  counted.report = reports[0];
  return counted;
}

bool IsAllowed(const SandboxResult& result, const Place& place, const Report& report,
               const Counted& counted) {
  if (result.verdict == Verdict::kRefused) return true;
  const bool whole = result.verdict == Verdict::kReversed;
  // Threads do not make the same calls in every run, so that the last one may not come.
  if (whole && report.failed == 0) return true;
  if (!whole && result.verdict != Verdict::kUnplayable) return false;
  const std::set<std::string> complaints = Complaints(result.log);
  const bool told = !std::includes(counted.complaints.begin(), counted.complaints.end(),
                                   complaints.begin(), complaints.end());
  const Outcome most = MostFor(place.call);
  if (most == Outcome::kWhole) return whole;
  if (most == Outcome::kWholeAndTold) return whole && told;
  return most == Outcome::kLessAndTold && (whole || (report.packets > 0 && told));
}

void ExpectHonestEnds(const Counted& counted, const std::vector<Place>& places) {
  Reports reports(places.size());
  std::vector<SandboxCase> cases;
  std::map<std::string, size_t> indices;
  for (const Place& place : places) {
    cases.push_back(CaseOf(counted.scene, place, counted.report.packets, &reports[cases.size()]));
    indices[cases.back().name] = cases.size() - 1;
  }
  Tally tally;
  RunSandboxed(cases, static_cast<int>(std::thread::hardware_concurrency()),
               [&](const SandboxResult& result) {
                 tally.Add(result);
                 const size_t index = indices[result.name];
                 if (IsAllowed(result, places[index], reports[index], counted)) return;
                 ADD_FAILURE() << result.name << ": " << VerdictName(result.verdict) << ", status "
                               << result.waitStatus << ", " << reports[index].packets << " of "
                               << counted.report.packets << " packets\n"
                               << result.log;
               });
  EXPECT_EQ(tally.Tried(), static_cast<int64_t>(places.size()));
  std::cout << Tally::Heading() << "\n" << tally.Row(counted.scene.name) << "\n";
}

// The first, the second, one in the middle and the last call, the first and the middle one also
// with all that follow.
std::vector<Place> PlacesIn(const Report& report) {
  std::vector<Place> places;
  for (int i = 0; i < kFaultCalls; ++i) {
    const auto call = static_cast<FaultCall>(i);
    const int64_t calls = report.calls[i];
    if (calls == 0 || call == FaultCall::operator_new) continue;
    for (const int64_t passing : std::set<int64_t>{0, 1, calls / 2, calls - 1}) {
      if (passing >= calls) continue;
      places.push_back({call, passing, false});
      if (passing != 1 && passing + 1 < calls) places.push_back({call, passing, true});
    }
  }
  return places;
}

bool HaveFilesAccessLists() {
  const std::string path = ScratchPath("listed");
  WriteBytes(path, "");
  return PutAccessList(path);
}

TEST(Faults, OfEveryCallEndHonestly) {
  std::array<bool, kFaultCalls> met{};
  for (const Scene& scene : {Plain(), Scaled(), Stamped(), Replacing(), Mirrored()}) {
    const Counted counted = Count(scene);
    for (size_t i = 0; i < met.size(); ++i) met[i] = met[i] || counted.report.calls[i] > 0;
    ExpectHonestEnds(counted, PlacesIn(counted.report));
  }
  // Only while the encoder is the slower one.
  met[static_cast<size_t>(FaultCall::pthread_cond_wait)] = true;
  met[static_cast<size_t>(FaultCall::fchown)] |= !Output::CanGiveAway();
  met[static_cast<size_t>(FaultCall::fsetxattr)] |= !HaveFilesAccessLists();
  for (size_t i = 0; i < met.size(); ++i) {
    EXPECT_TRUE(met[i]) << FaultCallName(static_cast<FaultCall>(i));
  }
}

TEST(Faults, OfEveryAllocationEndHonestly) {
  constexpr int kPoints = 200;
  for (const Scene& scene : {Plain(), Stamped(), Replacing(), Mirrored()}) {
    const Counted counted = Count(scene);
    const int64_t total = counted.report.calls[static_cast<int>(FaultCall::operator_new)];
    std::cout << total << " allocations\n";
    std::set<int64_t> chosen;
    for (int64_t i = 0; i < kPoints; ++i) chosen.insert(total * i / kPoints);
    std::vector<Place> places;
    for (const int64_t passing : chosen) {
      places.push_back({FaultCall::operator_new, passing, passing % 4 == 0});
    }
    ExpectHonestEnds(counted, places);
  }
}

}  // namespace
}  // namespace test_support
