// SPDX-License-Identifier: MIT
#include "codec/writer/media_writer_impl.h"

#include <array>
#include <chrono>
#include <new>
#include <string_view>
#include <utility>

#include "audio/audio_process_impl.h"
#include "base/guarded.h"
#include "base/log.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/filter/listener_registry.h"
#include "codec/utils/frame_type.h"
#include "codec/utils/image_utils.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriterImpl";

constexpr std::chrono::milliseconds kLongestWait(1000);

// An event's argument carries the turn in its upper and the corner in its lower half; a half that
// is 0 means no corner, but a turn of 0.
struct WaterMarkKey {
  std::string_view name;
  uint32_t mask;
  int shift;
};
constexpr std::array<WaterMarkKey, 3> kWaterMarkKeys = {{
    {"water-mark-pos", 0xFFFFU, 0},
    {"water-mark-rotation", 0xFFFFFFFFU, 16},
    {"water-mark-flags", 0xFFFFFFFFU, 0},
}};

}  // namespace

MediaWriterImpl::MediaWriterImpl(MediaEncoder* encoder, MediaFilter* filter)
    : mEncoder(encoder),
      mDrain(&mVideoQueue, &mAudioQueue, &mEncoder),
      mFramer(&mAudioQueue),
      mFilter(filter),
      mIntake(&mVideoQueue, filter) {
  mFramer.SetOutlet(this);
  mIntake.SetGiver(this);
}

MediaWriterImpl::~MediaWriterImpl() {
  if (running) MediaWriterImpl::Stop();
  // The listener is a filter of this chain, about to be deleted; that of an independent writer was
  // never there.
  if (!mSettings.is_independent) ListenerRegistry::Instance().SetListener(nullptr);
}

// What is thrown ends here, and is an error of the output.
template <typename Body>
int MediaWriterImpl::Bordered(const Body& body) {
  but::FirstError thrown;
  const int result = but::Guarded(kTag, body, &thrown);
  mEncoder.Fail(thrown.Error());
  return result;
}

int MediaWriterImpl::Configure(MediaFormat& format) {
  return Bordered([&] { return OpenParts(format); }) == 0 ? 0 : -1;
}

int MediaWriterImpl::OpenParts(const MediaFormat& format) {
  log_debug(kTag, "Configure MediaWriterImpl...");
  mSettings.ReadSharing(format);
  if (!mEncoder.HasEncoder()) {
    log_error(kTag, "MediaEncoder object  is null");
    return -1;
  }
  if (mEncoder.Open() != 0) {
    log_error(kTag, "MediaEncoder Open failed");
    return -1;
  }
  if (mSettings.Read(format) != 0) return -1;
  PreparePool();
  mIntake.SetFrame(mSettings.video_frame_size);
  mIntake.SetDiscard(mSettings.auto_discard_video);
  mFramer.SetSync(mSettings.enable_av_sync);
  mFramer.SetShortLast(mSettings.has_short_last_frame);
  if (mSettings.has_audio && ConfigureAudio(format) != 0) return -1;
  mSettings.ReadThreading(format);
  WakeSignal* const wake = mSettings.use_thread_ ? &mWake : nullptr;
  mVideoQueue.SetWake(wake);
  mAudioQueue.SetWake(wake);
  log_debug(kTag, "Configure MediaWriterImpl successfully");
  return 0;
}

int MediaWriterImpl::Start() {
  log_debug(kTag, "MediaWriterImpl starting...");
  if (running) {
    log_debug(kTag, "MediaWriterImpl has been started.");
    return 0;
  }
  if (!mEncoder.HasEncoder()) {
    log_error(kTag, "no encoder setup");
    return -1;
  }
  running = true;
  if (mSettings.use_thread_) {
    MWScheduler::Work* const work = this;
    mScheduler.reset(new (std::nothrow) MWScheduler(work));
    if (mScheduler != nullptr) mScheduler->Start();
    if (mScheduler == nullptr || !mScheduler->HasThread()) {
      // Queued frames would wait for ever; the producer's thread encodes them instead.
      log_warn(kTag, "no thread for the encoder, encoding on the caller's");
      mScheduler.reset();
      mSettings.use_thread_ = false;
    }
  }
  log_debug(kTag, "MediaWriterImpl start successfully");
  return 0;
}

void MediaWriterImpl::Stop() {
  log_debug(kTag, "MediaWriterImpl Stop");
  if (!running) {
    log_debug(kTag, "not running");
    return;
  }
  running = false;
  if (mScheduler) {
    StopScheduler();
  } else {
    MediaWriterImpl::Flush();
  }
  mEncoder.Close();
  mPool->Reset();
}

void MediaWriterImpl::WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) {
  Bordered([&] { TakeFrame(type, data, size, pts); });
}

void MediaWriterImpl::TakeFrame(int type, uint8_t* data, uint32_t size, int64_t pts) {
  if (type == kVideoFrame) mEncoder.Fail(mIntake.Write(data, size, pts));
  if (type == kAudioFrame && size > 0 && !WriteAudio(data, size, pts)) return;
  if (!mSettings.use_thread_) mDrain.DrainPreferred();
}

int64_t MediaWriterImpl::GetParameter(const char* key) { return mEncoder.GetParameter(key); }

void MediaWriterImpl::SetParameter(const char* key, int value) {
  if (key == nullptr) return;
  for (const WaterMarkKey& row : kWaterMarkKeys) {
    if (row.name != key) continue;
    Listener* const listener = LogoListener();
    if (listener == nullptr) return;
    const uint32_t argument = (static_cast<uint32_t>(value) & row.mask) << row.shift;
    Bordered([&] { listener->OnEvent(kWaterMarkEvent, static_cast<int32_t>(argument)); });
  }
}

void MediaWriterImpl::SetParameter(const char* key, double value) {
  if (key != nullptr && std::string_view(key) == "speed") mSettings.speed = value;
}

int MediaWriterImpl::OutputError() { return mEncoder.OutputError(); }

int64_t MediaWriterImpl::PicturesWritten() { return mEncoder.PicturesWritten(); }

std::unique_ptr<vux::AudioProcess> MediaWriterImpl::NewAudioProcess() const {
  return std::make_unique<vux::AudioProcessImpl>();
}

void MediaWriterImpl::ScheduleOnce() {
  // Taken before the look at the queues: a frame that arrives between the look and the wait makes
  // the wait return at once.
  const uint64_t ticket = mWake.Ticket();
  bool written = true;
  Bordered([&] { written = mDrain.WriteNext(); });
  if (written) mWritten.Signal();
  if (!written && running) mWake.WaitBeyond(ticket, kLongestWait);
}

void MediaWriterImpl::Flush() {
  log_debug(kTag, "Flush...");
  Bordered([this] {
    mFramer.Flush();
    if (mFramer.IsOutOfBuffers()) mEncoder.Fail(AVERROR(ENOMEM));
    mDrain.DrainPreferred();
    mDrain.DrainByTime();
  });
  log_debug(kTag, "Flush done");
}

void MediaWriterImpl::PreparePool() {
  if (mSettings.is_independent && !mOwnPool) {
    mOwnPool = std::make_unique<MediaBufferPool>();
    mPool = mOwnPool.get();
    mFramer.SetPool(mPool);
    mIntake.SetPool(mPool);
    if (mFilter) mFilter->SetPool(mPool);
  }
  mPool->SetVideoBufferSize(mSettings.video_frame_size);
  mPool->RefillVideo(mSettings.video_frame_size);
}

// Who is told of changes of the logo: whoever was made last in the process, or the logo of this
// chain alone. Null if nobody is.
Listener* MediaWriterImpl::LogoListener() const {
  if (!mSettings.is_independent) return ListenerRegistry::Instance().GetListener();
  for (MediaFilter* filter = mFilter.get(); filter != nullptr; filter = filter->next) {
    if (auto* const listener = dynamic_cast<Listener*>(filter)) return listener;
  }
  return nullptr;
}

int MediaWriterImpl::ConfigureAudio(const MediaFormat& format) {
  if (mSettings.ReadAudio(format) != 0) return -1;
  if (!mFramer.HasProcess() && MakeAudioProcess() != 0) return -1;
  return SizeAudioFrames();
}

int MediaWriterImpl::MakeAudioProcess() {
  // "enable-noise-suppression" asks for a processor that does not exist.
  log_debug(kTag, "AudioProcessImpl without noise suppression");
  std::unique_ptr<vux::AudioProcess> process = NewAudioProcess();
  process->SetSampleRate(mSettings.sample_rate);
  process->SetChannels(mSettings.channel_count);
  if (process->Init() != 0) {
    log_error(kTag, "AudioProcessImpl init error");
    return -1;
  }
  mFramer.SetProcess(std::move(process));
  return 0;
}

int MediaWriterImpl::SizeAudioFrames() {
  const int samples = mEncoder.GetParameter("audio-frame-size");
  if (samples < 1) {
    log_error(kTag, "get audio frame size failed");
    return -1;
  }
  const int bytes = AudioBufferSize(samples, mSettings.channel_count, mSettings.sample_format);
  if (bytes < 1) {
    log_error(kTag, "invalid audio frame size(%d)", bytes);
    return -1;
  }
  mPool->SetAudioBufferSize(bytes);
  if (mSettings.speed < 1.0) mAudioScratch.resize(static_cast<size_t>(bytes));
  log_debug(kTag, "audio frame size:%d", bytes);
  const int rate = mEncoder.GetParameter("sample-rate");
  if (rate < 1) {
    log_error(kTag, "get audioFrameDuration failed");
    return -1;
  }
  // The channel count stays in the product: stereo stamps run at double pace, and the sync rules
  // are tuned to that. The encoder counts samples and never sees these stamps.
  const int64_t duration =
      int64_t{bytes} * 1000000 / rate / BytesPerSample(mSettings.sample_format);
  log_debug(kTag, "audio frame duration:%d", static_cast<int>(duration));
  mFramer.SetFrame(bytes, duration);
  return 0;
}

bool MediaWriterImpl::GivesBuffersBack() {
  if (!running || mScheduler == nullptr) return false;
  const int wanted = mEncoder.GetParameter("next-frame-type");
  return wanted == kVideoFrame || wanted == kAudioFrame;
}

bool MediaWriterImpl::AwaitFewer(size_t frames) {
  if (!mSettings.use_thread_) mDrain.DrainPreferred();
  // The ticket is older than the look at the queue, so that no signal is missed.
  for (uint64_t ticket = mWritten.Ticket(); mAudioQueue.Size() >= frames && GivesBuffersBack();
       ticket = mWritten.Ticket()) {
    mWritten.WaitBeyond(ticket, kLongestWait);
  }
  return mAudioQueue.Size() < frames;
}

// False when the frame ends the call it came with.
bool MediaWriterImpl::WriteAudio(const uint8_t* data, uint32_t size, int64_t pts) {
  if (mIntake.Pictures() < 1 && mSettings.auto_discard_audio_) {
    log_debug(kTag, "discard audio frame, no video arrive");
    return false;
  }
  const int result = mFramer.Write(data, size, pts);
  if (mFramer.IsOutOfBuffers()) mEncoder.Fail(AVERROR(ENOMEM));
  if (mFramer.HasLostSilence()) mEncoder.Fail(AVERROR(EINVAL));
  return result == 0;
}

void MediaWriterImpl::StopScheduler() {
  mWake.Signal();
  if (mScheduler->running) {
    mScheduler->running = false;
    mScheduler->Join();
    log_debug(kTag, "MWScheduler stopped");
  }
  mScheduler.reset();
}

}  // namespace codec
