// SPDX-License-Identifier: MIT
#include "reverse/reverse.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <limits>

#include "base/file_identity.h"
#include "base/first_error.h"
#include "base/guarded.h"
#include "base/local_file.h"
#include "base/log.h"
#include "base/platform.h"
#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "reverse/closed_account.h"
#include "reverse/copy_reversal.h"
#include "reverse/end_signal.h"
#include "reverse/job_memory.h"
#include "reverse/job_output.h"
#include "reverse/job_range.h"
#include "reverse/mirror_reversal.h"
#include "reverse/output_description.h"
#include "reverse/reverse_work_thread.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

}  // namespace

Reverse::Reverse(const char* inputPath, double start, double end, const char* outputPath)
    : mInputPath(inputPath),
      mOutput(std::make_unique<JobOutput>(outputPath)),
      mMemory(std::make_unique<JobMemory>()),
      mRange(std::make_unique<JobRange>(start, end)),
      mReversal(std::make_unique<Reversal>()),
      mEndSignal(std::make_unique<EndSignal>()) {}

Reverse::~Reverse() { Release(); }

// A setting for which there is no memory fails the job's Init.
template <typename Body>
void Reverse::Set(const Body& body) {
  const int error = but::Guarded(kTag, body);
  if (mSettingError == 0) mSettingError = error;
}

void Reverse::SetOutputParameter(const char* key, const char* value) {
  Set([&] { mOutputParameters.SetString(key, value); });
}

void Reverse::SetMirror(bool isMirror) {
  mIsMirror = isMirror;
  ChooseReversal();
}

void Reverse::SetCopy(bool isCopy) {
  mIsCopy = isCopy;
  ChooseReversal();
}

void Reverse::ChooseReversal() {
  Set([&] {
    if (mIsCopy) {
      mReversal = std::make_unique<CopyReversal>();
    } else if (mIsMirror) {
      mReversal = std::make_unique<MirrorReversal>();
    } else {
      mReversal = std::make_unique<Reversal>();
    }
  });
}

void Reverse::SetSafeOutput(bool isSafe) { mOutput->SetSafe(isSafe); }

void Reverse::SetRefuseEmpty(bool refuses) { mRange->RefuseEmpty(refuses); }

void Reverse::SetKeepExisting(bool keeps) { mOutput->SetKeepExisting(keeps); }

void Reverse::SetIndependent(bool isIndependent) {
  Set([&] { mOutputParameters.SetInt32("independent", isIndependent ? 1 : 0); });
}

void Reverse::SetMemoryLimit(int64_t bytes) { mMemory->SetLimit(bytes); }

int64_t Reverse::MemoryNeeded() const { return mMemory->Needed(); }

int64_t Reverse::MemoryGranted() const { return mMemory->Granted(); }

int Reverse::Init() {
  // The walk uses the decoder and the writer that exist already, maybe on its own thread by now.
  if (mIsInitialised) {
    log_error(kTag, "the job was initialised before; make another one");
    return -1;
  }
  const int result =
      mSettingError != 0 ? mSettingError : but::Guarded(kTag, [this] { return CreateParts(); });
  mIsInitialised = result == 0;
  if (mIsInitialised) return 0;
  Fail(FailedStep::kHost, result);
  // Closed before it is removed.
  mLoop.reset();
  mWriter.reset();
  mOutput->Discard();
  return -1;
}

int Reverse::CreateParts() {
  log_debug(kTag, "==========Init==========");
  // Opening the output empties it, which must never happen to the input.
  if (but::IsSameFile(but::LocalPath(mInputPath), but::LocalPath(mOutput->Path()))) {
    log_error(kTag, "output %s is the input file, choose another name", mOutput->Path().c_str());
    return Fail(FailedStep::kSameFile);
  }
  if (CreateDecoder() != 0) return -1;
  if (CreateWriter() != 0) return -1;
  log_debug(kTag, "==========Init done==========");
  return 0;
}

int Reverse::CreateDecoder() {
  int width = 0;
  int height = 0;
  mOutputParameters.GetInt32("target-width", width);
  mOutputParameters.GetInt32("target-height", height);
  mMemory->SetOutputSize(int64_t{width} * height);
  DecoderOptions options = mMemory->Options();
  mReversal->SetWishes(mOutput->Path(), mOutputParameters);
  options.additions = mReversal->Additions();
  auto decoder = std::make_unique<FFmpegDecoderImpl2>(mInputPath.c_str(), options);
  if (decoder->Init() != 0) {
    log_error(kTag, "decoder init failed");
    if (mMemory->Needed() > 0) return Fail(FailedStep::kMemory);
    if (const int error = decoder->HostError(); error != 0) return Fail(FailedStep::kHost, error);
    const OpenFailure& reason = decoder->WhyNotOpened();
    Fail(FailedStep::kOpenInput, reason.error, reason.kind);
    mFailure.obstacle = reason.obstacle;
    return -1;
  }
  decoder->GetMediaInfo(mInputInfo);
  mInputObstacle = decoder->WhyNotOpened().obstacle;
  if (mReversal->Prepare(decoder.get(), mInputPath, mAudioEnabled, &mInputInfo) != 0) {
    return Fail(FailedStep::kHost, mReversal->HostError());
  }
  log_debug(kTag, "mStart:%.3f, mDuration:%.3f", mRange->Start(), mReversal->Duration(mInputInfo));
  if (mRange->FitInto(mReversal->Duration(mInputInfo)) != 0) return Fail(FailedStep::kCheckRange);
  mReversal->Limit(mRange->Start(), mRange->End(), &mInputInfo);
  mDecoder = std::move(decoder);
  mFrameBufferSize = FrameBufferSize(mInputInfo);
  return mFrameBufferSize < 0 ? Fail(FailedStep::kReadFacts) : 0;
}

int32_t Reverse::FrameBufferSize(const MediaInfo& info) {
  // Four bytes a pixel hold any packed 8-bit picture. Deeper pictures can be larger, and an audio
  // block is larger than a tiny picture.
  const int64_t fourBytesEach = static_cast<int64_t>(info.width) * info.height * 4;
  const int64_t bytes = std::max<int64_t>(
      {fourBytesEach, mDecoder->GetFrameBufferSize(), mDecoder->GetAudioBufferSize()});
  if (bytes <= std::numeric_limits<int32_t>::max()) return static_cast<int32_t>(bytes);
  log_error(kTag, "pictures of %dx%d are too large", info.width, info.height);
  return -1;
}

int Reverse::CreateWriter() {
  const MediaInfo& info = mInputInfo;
  const bool hasAudio = mAudioEnabled && info.has_audio != 0;

  MediaFormat format;
  if (DescribeOutput(info, hasAudio, mOutput->Path(), format) != 0) {
    Fail(FailedStep::kReadFacts);
    mFailure.obstacle = mInputObstacle;
    return -1;
  }
  mReversal->Describe(info, mRange->Start(), mRange->End(), &format);
  for (const auto& [key, value] : mOutputParameters.Entries()) {
    format.SetString(key.c_str(), value.c_str());
  }
  const std::string obstacle = mReversal->Obstacle(info, mRange->Start(), mRange->End(), format);
  if (!obstacle.empty()) {
    log_error(kTag, "%s cannot be %s: %s", mInputPath.c_str(), mIsCopy ? "copied" : "reversed",
              obstacle.c_str());
    Fail(mIsCopy ? FailedStep::kCopy : FailedStep::kOpenOutput, mReversal->HostError());
    mFailure.obstacle = obstacle;
    return -1;
  }
  if (const int error = mOutput->Place(&format); error != 0) {
    return Fail(FailedStep::kOpenOutput, AVERROR(error));
  }
  mWriter.reset(MakeWriter(format));
  if (mWriter == nullptr) {
    log_error(kTag, "Make MediaWriter error");
    int error = 0;
    format.GetInt32("output-error", error);
    if (error == AVERROR(ENOMEM)) return Fail(FailedStep::kHost, error);
    return Fail(FailedStep::kOpenOutput, error, mOutput->Kind());
  }
  mOutput->Measure();

  ReverseRange range;
  range.start = mRange->Start();
  range.end = mRange->End();
  range.hasAudio = hasAudio;
  range.channels = info.channels;
  range.sampleRate = info.sample_rate;
  range.sampleFormat = info.sample_format;
  range.isToEnd = mRange->End() >= mReversal->Duration(info);
  range.bufferSize = mFrameBufferSize;
  mMemory->ApplyTo(&range);
  mLoop = mReversal->MakeWalk(mDecoder.get(), mWriter.get(), range);
  return 0;
}

MediaWriter* Reverse::MakeWriter(MediaFormat& format) { return mReversal->MakeWriter(format); }

int Reverse::Start() {
  // Another attempt takes back that one has failed: its output would be taken away by Release.
  if (mFailure.step == FailedStep::kStart) {
    mFailure = {};
    mResult = 0;
  }
  const int result = but::Guarded(kTag, [this] { return StartThreads(); });
  if (result == 0) return 0;
  mResult = result == -1 ? -EAGAIN : result;
  return Fail(FailedStep::kStart, mResult);
}

int Reverse::Fail(FailedStep step, int error, const char* kind) {
  if (mFailure.step == FailedStep::kNone) mFailure = {step, error, kind};
  return -1;
}

void Reverse::Settle(FailedStep step, int error) {
  if (mResult != 0 || error == 0) return;
  mResult = error;
  Fail(step, error, step == FailedStep::kWriteOutput ? mOutput->Kind() : nullptr);
}

int Reverse::StartThreads() {
  // After a worker was made, the decoder belongs to the worker until it is joined.
  if (mWorkThread == nullptr && mDecoder == nullptr) {
    log_error(kTag, "mDecoder not created");
    return -1;
  }
  if (mWorkThread == nullptr) mWorkThread = std::make_unique<ReverseWorkThread>(this);
  if (mWriter != nullptr && mWriter->Start() != 0) {
    log_error(kTag, "MediaWriter start failed");
    return -1;
  }
  // A worker that was started before does not begin again.
  if (!mWorkThread->running) mEndSignal->Begin();
  mWorkThread->Start();
  if (!mWorkThread->HasThread()) {
    log_error(kTag, "no thread for the work");
    mProgress = 100;
    mEndSignal->End();
    return -1;
  }
  return 0;
}

float Reverse::GetProgress() {
  if (mWorkThread == nullptr) return 0;
  if (mProgress > 100) mProgress = 100;
  return mProgress;
}

double Reverse::RangeSeconds() const { return mRange->Seconds(); }

int64_t Reverse::BytesWritten() const { return mOutput->Bytes(); }

bool Reverse::WaitForEnd(int milliseconds) {
  return mEndSignal->Wait(std::chrono::milliseconds(milliseconds));
}

void Reverse::Release() {
  log_debug(kTag, "========== Release==========");
  if (mWorkThread != nullptr) {
    if (mWorkThread->running.exchange(false)) {
      mWorkThread->Join();
      log_debug(kTag, "ReverseWorkThread stopped");
    }
    mWorkThread.reset();
  }
  mLoop.reset();
  mWriter.reset();
  mDecoder.reset();
  if (mResult != 0) mOutput->Discard();
  mOutput->Drop();
}

int Reverse::DoReverse() {
  but::FirstError thrown;
  const int result = but::Guarded(
      kTag, [this] { return MakeStep(); }, &thrown);
  if (mStepError == 0) mStepError = thrown.Error();
  Settle(FailedStep::kHost, mStepError);
  return result == 0 ? 0 : -1;
}

int Reverse::MakeStep() {
  if (mIsCancel == 1) {
    log_debug(kTag, "mIsCancel == 1, DoReverse return");
    return -1;
  }
  // What an exception has left half done cannot go on.
  if (mStepError != 0) return -1;
  // A frame that cannot be written need not be decoded.
  if (mWriter != nullptr && mWriter->OutputError() != 0) return -1;
  if (HostError() != 0) return -1;
  if (mLoop == nullptr || mLoop->Step() != 0) return -1;
  mProgress = mLoop->Progress();
  return 0;
}

int Reverse::HostError() const {
  const int error = mDecoder == nullptr ? 0 : mDecoder->HostError();
  return error != 0 ? error : mReversal->HostError();
}

void Reverse::RunToEnd(const std::atomic<bool>& running) {
  const int64_t begin = but::ProcessClockMillis();
  while (running && DoReverse() == 0) {
  }
  Settle(FailedStep::kHost, HostError());
  if (mDiscardsCancelled && (mIsCancel == 1 || !running)) {
    Settle(FailedStep::kCancel, AVERROR(ECANCELED));
  }
  const auto took = static_cast<int32_t>(but::ProcessClockMillis() - begin);
  log_debug(kTag, "reverse time : %.3fs", took / 1000.0);
  if (mWriter != nullptr) {
    mWriter->Stop();
    Settle(FailedStep::kWriteOutput, mWriter->OutputError());
  }
  if (mResult == 0 && mLoop != nullptr && mLoop->FoundNoPicture()) mResult = MissPictures();
  CloseAccount();
  if (mResult == 0) {
    Settle(FailedStep::kWriteOutput, but::Guarded(kTag, [this] { return mOutput->Finish(); }));
  }
  FreePictures();
  mProgress = 100;
  mEndSignal->End();
}

// An output that is whole does not fail because there was no memory to count what is in it, unless
// that matters.
void Reverse::CloseAccount() {
  if (mLoop == nullptr || mWriter == nullptr) return;
  mAccount = mLoop->Account();
  const int error = but::Guarded(kTag, [this] {
    mAccount = ClosedAccount(*mLoop, mRange->Start(), mRange->End(), mWriter.get(), *mReversal);
    return 0;
  });
  if (!mIsStrict) return;
  Settle(FailedStep::kHost, error);
  if (!mAccount.IsWhole()) Settle(FailedStep::kLoss, AVERROR_INVALIDDATA);
}

// A range without pictures is an error. It is not if the last seek has used up its only picture,
// and there is sound.
int Reverse::MissPictures() {
  if (mLoop->PassedPicture() || !mLoop->UsedUpPicture()) {
    log_error(kTag, "no picture could be read from %.3f to %.3f", mRange->Start(), mRange->End());
    const bool hasOthers = mLoop->PassedPicture() || mLoop->SawLaterPicture();
    const int error = hasOthers ? AVERROR(ENODATA) : AVERROR_INVALIDDATA;
    Fail(hasOthers ? FailedStep::kReadRange : FailedStep::kReadInput, error);
    return error;
  }
  constexpr char kText[] = "no picture from %.3f to %.3f but the one that the range begins with";
  if (mLoop->HasSound()) {
    log_warn(kTag, kText, mRange->Start(), mRange->End());
    return 0;
  }
  log_error(kTag, kText, mRange->Start(), mRange->End());
  Fail(FailedStep::kReadFirst, AVERROR(ENODATA));
  return AVERROR(ENODATA);
}

// Gives hundreds of megabytes back to the system before the caller looks at the progress again. The
// loop goes first: it may still be reading.
void Reverse::FreePictures() {
  mLoop.reset();
  mDecoder.reset();
}

}  // namespace codec
