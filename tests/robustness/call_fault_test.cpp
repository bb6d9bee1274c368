// SPDX-License-Identifier: MIT
// Every call that a program makes of the library meets a lack of memory at each of its allocations.
// It must answer, and the calls after it must be safe.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/log.h"
#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "codec/encoder/media_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/writer/media_writer_factory.h"
#include "codec/writer/media_writer_impl.h"
#include "reverse/reverse.h"
#include "tests/codec/filter/png_file.h"
#include "tests/faults/faults.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::Fault;
using test_support::FaultCall;
using test_support::ScratchPath;

constexpr int kWidth = 64;
constexpr int kHeight = 48;

// The objects of a call, and those after it: they go when it does.
using Call = std::function<int()>;
// Makes the objects, with all the memory that they want.
using Prepare = std::function<Call()>;

// Long texts are no part of the strings that hold them.
constexpr char kLongText[] = "a text that is longer than what a string holds within itself";

int64_t AllocationsOf(const Call& call) {
  const int64_t before = test_support::FaultCallCount(FaultCall::operator_new);
  call();
  return test_support::FaultCallCount(FaultCall::operator_new) - before;
}

// The answer of the call if its allocation after `passing` others fails; 1 if it throws.
int AnswerWithout(const Call& call, int64_t passing, bool andAllAfter) {
  Fault fault(FaultCall::operator_new, passing);
  if (!andAllAfter) fault.Once();
  try {
    return call();
  } catch (...) {
    return 1;
  }
}

// Fails each of the call's allocations, or so many of them.
void ExpectAnswers(const std::string& name, const Prepare& prepare, int64_t mostPlaces = 1000) {
  const int64_t count = AllocationsOf(prepare());
  const int64_t step = std::max<int64_t>(1, count / mostPlaces);
  for (int64_t passing = 0; passing < count; passing += step) {
    for (const bool andAllAfter : {false, true}) {
      const Call call = prepare();
      const int answer = AnswerWithout(call, passing, andAllAfter);
      EXPECT_LE(answer, 0) << name << " throws without allocation " << passing << " of " << count
                           << (andAllAfter ? " and all after" : "");
    }
  }
}

MediaFormat Film(const std::string& path) {
  MediaFormat format;
  format.SetString("output-path", path.c_str());
  format.SetString("video-codec", "mpeg4");
  format.SetString("input-color-format", "bgra");
  format.SetString("output-color-format", "yuv420p");
  format.SetString("audio-codec", "aac");
  format.SetString("maxrate", "1000000");
  format.SetInt32("has-video", 1);
  format.SetInt32("has-audio", 1);
  format.SetInt32("width", kWidth);
  format.SetInt32("height", kHeight);
  format.SetInt32("gop", 10);
  format.SetInt32("sample-rate", 44100);
  format.SetInt32("channel-count", 2);
  format.SetInt32("sample-format", 8);
  format.SetInt32("thread-count", 1);
  format.SetInt32("use-thread", 1);
  format.SetInt32("any-encoder", 1);
  format.SetInt32("has-water-mark", 1);
  static const std::string logo =
      testing::WritePng("call_fault_logo.png", 16, 16, {PNG_COLOR_TYPE_RGB, 8, false},
                        std::vector<uint8_t>(size_t{16} * 16 * 3, 90));
  format.SetString("logo-path", logo.c_str());
  format.SetInt32("water-mark-pos", 1);
  format.SetInt32("water-mark-rotation", 90);
  format.SetDouble("frame-rate", 25);
  format.SetDouble("speed", 0.5);
  return format;
}

// Larger than any frame of the film.
std::vector<uint8_t>* Bytes() {
  static std::vector<uint8_t> bytes(size_t{64} * 1024, 40);
  return &bytes;
}

void WriteSome(MediaWriter* writer) {
  uint8_t* const bytes = Bytes()->data();
  for (int64_t i = 1; i <= 3; ++i) {
    writer->WriteFrame(1, bytes, kWidth * kHeight * 4, i * 40000);
    writer->WriteFrame(2, bytes, 9000, i * 40000);
  }
}

// Goes on with what a call has left, as a program does that does not look at its answer.
struct WriterInUse {
  std::unique_ptr<MediaWriter> writer;
  ~WriterInUse() {
    if (writer == nullptr) return;
    writer->Start();
    WriteSome(writer.get());
    writer->SetParameter("water-mark-flags", 3);
    writer->Stop();
    writer->OutputError();
  }
};

Prepare WithWriter(int (*call)(MediaWriter*), bool isStarted = true) {
  return [=]() -> Call {
    auto use = std::make_shared<WriterInUse>();
    MediaFormat format = Film(ScratchPath("call.mp4"));
    use->writer.reset(MakeMediaWriter(format));
    if (isStarted) use->writer->Start();
    return [=] { return call(use->writer.get()); };
  };
}

TEST(CallFaults, OfMakingWritersAreAnswers) {
  for (MediaWriter* (*make)(MediaFormat&) : {&MakeMediaWriter, &MakeMediaWriterWithoutFilter}) {
    ExpectAnswers("MakeMediaWriter", [make]() -> Call {
      auto use = std::make_shared<WriterInUse>();
      auto format = std::make_shared<MediaFormat>(Film(ScratchPath("call.mp4")));
      return [=] {
        use->writer.reset(make(*format));
        return use->writer == nullptr ? -1 : 0;
      };
    });
  }
}

TEST(CallFaults, OfConfiguringAWriterAreAnswers) {
  ExpectAnswers("Configure", []() -> Call {
    auto format = std::make_shared<MediaFormat>(Film(ScratchPath("call.mp4")));
    format->SetInt32("video-frame-size", kWidth * kHeight * 3 / 2);
    auto encoder = std::make_unique<MediaEncoderImpl>();
    encoder->Configure(*format);
    auto use = std::make_shared<WriterInUse>();
    use->writer = std::make_unique<MediaWriterImpl>(encoder.release(), nullptr);
    return [=] { return use->writer->Configure(*format); };
  });
}

TEST(CallFaults, OfWritersAreAnswers) {
  const auto start = [](MediaWriter* writer) { return writer->Start(); };
  ExpectAnswers("Start", WithWriter(start, false));
  const auto write = [](MediaWriter* writer) {
    WriteSome(writer);
    return 0;
  };
  ExpectAnswers("WriteFrame", WithWriter(write));
  const auto move = [](MediaWriter* writer) {
    WriteSome(writer);
    writer->SetParameter("water-mark-pos", 2);
    writer->SetParameter("water-mark-rotation", 180);
    writer->SetParameter(kLongText, 1);
    writer->SetParameter("speed", 2.0);
    writer->GetParameter(kLongText);
    return 0;
  };
  ExpectAnswers("SetParameter", WithWriter(move));
  const auto stop = [](MediaWriter* writer) {
    WriteSome(writer);
    writer->Stop();
    return 0;
  };
  ExpectAnswers("Stop", WithWriter(stop));
}

struct EncoderInUse {
  MediaEncoderImpl encoder;
  bool isOpen = false;
  int EncodeSome() {
    const int bytes = encoder.GetParameter("audio-frame-size") * 8;
    int result = 0;
    for (int i = 0; i < 3; ++i) {
      result = std::min(result, encoder.EncodeVideo(Bytes()->data(), 0, int64_t{i} * 40000));
      result = std::min(result, encoder.EncodeAudio(Bytes()->data(), static_cast<size_t>(bytes)));
    }
    return result;
  }
  ~EncoderInUse() {
    if (encoder.Open() == 0) EncodeSome();
    encoder.Close();
    encoder.OutputError();
  }
};

TEST(CallFaults, OfEncodersAreAnswers) {
  const auto format = std::make_shared<MediaFormat>(Film(ScratchPath("call.mp4")));
  for (const bool any : {false, true}) {
    format->SetInt32("any-encoder", any ? 1 : 0);
    const auto configured = [=] {
      auto use = std::make_shared<EncoderInUse>();
      use->encoder.Configure(*format);
      return use;
    };
    const auto opened = [=] {
      auto use = configured();
      use->encoder.Open();
      return use;
    };
    ExpectAnswers("encoder Configure", [=]() -> Call {
      auto use = std::make_shared<EncoderInUse>();
      return [=] { return use->encoder.Configure(*format); };
    });
    ExpectAnswers("encoder Open", [=]() -> Call {
      auto use = configured();
      return [=] { return use->encoder.Open(); };
    });
    ExpectAnswers("encoder Encode", [=]() -> Call {
      auto use = opened();
      return [=] { return use->EncodeSome(); };
    });
    ExpectAnswers("encoder Close", [=]() -> Call {
      auto use = opened();
      use->EncodeSome();
      return [=] {
        use->encoder.Close();
        return 0;
      };
    });
  }
}

// An encoder that had no memory must not count as whole.
TEST(CallFaults, OfEncodersAreOutputErrors) {
  const MediaFormat format = Film(ScratchPath("call.mp4"));
  MediaEncoderImpl encoder;
  ASSERT_EQ(encoder.Configure(format), 0);
  {
    const Fault fault(FaultCall::operator_new);
    EXPECT_LT(encoder.Open(), 0);
  }
  EXPECT_LT(encoder.OutputError(), 0);
  encoder.Close();
}

struct DecoderInUse {
  FFmpegDecoderImpl2 decoder{Clip(ClipKind::kH264Short).c_str()};
  std::vector<uint8_t> buffer = std::vector<uint8_t>(size_t{4} * 1920 * 1080);
  uint32_t size = 0;
  uint32_t type = 0;
  double pts = 0;

  int Receive() { return decoder.ReceiveFrame(buffer.data(), &size, &type, &pts); }
  int Decode() { return decoder.DecodeFrame(buffer.data(), &size, &type, &pts); }
  ~DecoderInUse() {
    decoder.Init();
    decoder.Seek(0.5, 2);
    Decode();
    Receive();
    decoder.HostError();
    decoder.Finish();
    decoder.Release();
  }
};

TEST(CallFaults, OfDecodersAreAnswers) {
  const std::vector<std::pair<std::string, std::function<int(DecoderInUse*)>>> calls = {
      {"Seek", [](DecoderInUse* use) { return use->decoder.Seek(1, 2); }},
      {"ReceiveFrame",
       [](DecoderInUse* use) {
         int result = 0;
         for (int i = 0; i < 5; ++i) result = std::min(result, use->Receive());
         return result;
       }},
      {"DecodeFrame", [](DecoderInUse* use) { return use->Decode(); }},
      {"facts",
       [](DecoderInUse* use) {
         MediaInfo info;
         const int result = use->decoder.GetMediaInfo(info);
         use->decoder.FirstPictureTime();
         use->decoder.Fields();
         use->decoder.TakeLost(0, 1);
         use->decoder.Duration();
         use->decoder.Joined();
         return result;
       }},
      {"SetZero",
       [](DecoderInUse* use) {
         use->decoder.SetZero(0.04);
         use->decoder.RestSound();
         use->decoder.LeaveSoundOut();
         return 0;
       }},
      {"Finish",
       [](DecoderInUse* use) {
         use->decoder.Finish();
         return use->decoder.Release();
       }},
  };
  ExpectAnswers("Init", []() -> Call {
    auto use = std::make_shared<DecoderInUse>();
    return [=] { return use->decoder.Init(); };
  });
  for (const auto& [name, body] : calls) {
    ExpectAnswers(name, [&body = body]() -> Call {
      auto use = std::make_shared<DecoderInUse>();
      use->decoder.Init();
      return [use, body] { return body(use.get()); };
    });
  }
}

struct JobInUse {
  Reverse job{Clip(ClipKind::kTiny).c_str(), 0, 0.3, ScratchPath("call.mp4").c_str()};
  bool isReady = false;  // Init has succeeded
  int Init() {
    const int result = job.Init();
    isReady = result == 0;
    return result;
  }
  ~JobInUse() {
    if ((isReady || Init() == 0) && job.Start() == 0) job.WaitForEnd(60000);
    job.Release();
  }
};

TEST(CallFaults, OfJobsAreAnswers) {
  constexpr int64_t kMostPlaces = 20;  // a whole run each
  ExpectAnswers(
      "job settings",
      []() -> Call {
        auto use = std::make_shared<JobInUse>();
        return [=] {
          use->job.SetOutputParameter(kLongText, kLongText);
          use->job.SetMirror(true);
          use->job.SetSafeOutput(true);
          use->job.SetIndependent(true);
          use->job.SetMemoryLimit(Reverse::kHostMemory);
          return 0;
        };
      },
      kMostPlaces);
  ExpectAnswers(
      "job Init",
      []() -> Call {
        auto use = std::make_shared<JobInUse>();
        return [=] { return use->Init(); };
      },
      kMostPlaces);
  ExpectAnswers(
      "job Start",
      []() -> Call {
        auto use = std::make_shared<JobInUse>();
        use->Init();
        return [=] { return use->job.Start(); };
      },
      kMostPlaces);
  ExpectAnswers(
      "job DoReverse",
      []() -> Call {
        auto use = std::make_shared<JobInUse>();
        use->Init();
        return [=] { return use->job.DoReverse(); };
      },
      kMostPlaces);
  ExpectAnswers(
      "job Release",
      []() -> Call {
        auto use = std::make_shared<JobInUse>();
        use->Init();
        use->job.DoReverse();
        return [=] {
          use->job.Release();
          return 0;
        };
      },
      kMostPlaces);
}

// A setting that is lost must not be missed in silence.
TEST(CallFaults, OfAJobsSettingsFailItsInit) {
  using Setting = void (*)(Reverse*);
  for (const Setting set :
       {Setting{[](Reverse* job) { job->SetMirror(true); }},
        Setting{[](Reverse* job) { job->SetCopy(true); }},
        Setting{[](Reverse* job) { job->SetIndependent(true); }},
        Setting{[](Reverse* job) { job->SetOutputParameter(kLongText, kLongText); }}}) {
    JobInUse use;
    {
      Fault fault(FaultCall::operator_new);
      fault.Once();
      set(&use.job);
      ASSERT_EQ(fault.Failed(), 1);
    }
    EXPECT_EQ(use.job.Init(), -1);
    EXPECT_EQ(use.job.Failure().step, FailedStep::kHost);
  }
}

// FFmpeg allocates nothing that is larger than a limit.
TEST(CallFaults, OfFFmpegAreAnswers) {
  for (size_t most = 16; most < size_t{1} << 22; most *= 2) {
    av_max_alloc(most);
    {
      WriterInUse use;
      MediaFormat format = Film(ScratchPath("call.mp4"));
      use.writer.reset(MakeMediaWriter(format));
    }
    { JobInUse use; }
    { DecoderInUse use; }
    av_max_alloc(INT_MAX);
  }
}

}  // namespace
}  // namespace codec
