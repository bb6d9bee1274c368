// SPDX-License-Identifier: MIT
#include "codec/decoder/ffmpeg_decoder_impl2.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "base/guarded.h"
#include "base/lock.h"
#include "base/log.h"
#include "codec/decoder/decode_session.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/field_probe.h"
#include "codec/decoder/first_failure.h"
#include "codec/decoder/frame_receiver.h"
#include "codec/decoder/frame_source.h"
#include "codec/decoder/packet_decoder.h"
#include "codec/decoder/pending_frame.h"
#include "codec/decoder/seeker.h"
#include "codec/decoder/session_opener.h"
#include "codec/decoder/stream_facts.h"
#include "codec/decoder/time_probe.h"

namespace codec {

struct FFmpegDecoderImpl2::Parts {
  explicit Parts(std::unique_ptr<DecodeSession> opened)
      : owned(std::move(opened)), session(*owned) {}

  const std::unique_ptr<DecodeSession> owned;
  DecodeSession& session;
  PendingFrame pending;
  PacketFeed feed{&session};
  FrameSource source{&session, &feed};
  FrameReceiver receiver{&session, &source};
  PacketDecoder packets{&session, &feed};
  Seeker seeker{&session, &source, &packets, &pending};

  std::optional<ScannedLength> scanned;
  double latestEnd = 0;  // seconds, of the stretches whose losses were taken
  FieldOrder firstFields = FieldOrder::kProgressive;  // of the first picture
  // An exception may leave the parts in the middle of a change.
  bool isWhole = true;

  // Whether there was memory for all of them, and for all that they did.
  bool IsUsable() const {
    return isWhole && feed.IsUsable() && receiver.IsUsable() && packets.IsUsable() &&
           source.IsUsable() && seeker.IsUsable();
  }
};

namespace {

void Give(const DecodedFrame& frame, uint32_t* size, uint32_t* type, double* pts) {
  *size = frame.size;
  *type = frame.type;
  *pts = frame.pts;
}

}  // namespace

// No exception leaves the decoder. Its error is kept, because to the caller a failure looks like
// the end of the input. `body` gives 0 or -1.
template <typename Body>
int FFmpegDecoderImpl2::Bordered(const Body& body) {
  const int result = but::Guarded(kDecoderTag, body);
  if (result < -1) {
    mThrown->Keep(result);
    if (mParts != nullptr) mParts->isWhole = false;
  }
  return result == 0 ? 0 : -1;
}

// The same for a body that needs all parts.
template <typename Body>
int FFmpegDecoderImpl2::WithParts(const Body& body) {
  return mParts == nullptr || !mParts->IsUsable() ? -1 : Bordered(body);
}

FFmpegDecoderImpl2::FFmpegDecoderImpl2(const char* path, const DecoderOptions& options)
    : mPath(path),
      mOptions(options),
      mMutex(std::make_unique<but::Mutex>()),
      mThrown(std::make_unique<FirstFailure>()) {
  mInfo.channels = SoundLayout().channels;
}

FFmpegDecoderImpl2::~FFmpegDecoderImpl2() { LogCounters(); }

// How much work a whole run was. The benchmarks look for this line.
void FFmpegDecoderImpl2::LogCounters() const {
  if (mParts == nullptr) return;
  const DecoderCounters counters = Counters();
  log_verbose(kDecoderTag, "video frames decoded:%lld, replayed:%lld, packets read:%lld",
              static_cast<long long>(counters.videoFramesDecoded),
              static_cast<long long>(counters.videoFramesReplayed),
              static_cast<long long>(counters.packetsRead));
}

int FFmpegDecoderImpl2::Init() {
  return Bordered([this] { return InitParts(); });
}

int FFmpegDecoderImpl2::InitParts() {
  if (mParts != nullptr) return 0;
  log_debug(kDecoderTag, "=====Init=====");
  std::unique_ptr<DecodeSession> session;
  std::unique_ptr<SessionOpener> opener;
  MediaInfo info;
  int result = 0;
  // Once, and once more if there is sound beyond what was probed.
  for (std::optional<int64_t> probe = 0; probe.has_value(); probe = opener->ProbeNeeded()) {
    mProbedTo = *probe;
    session = std::make_unique<DecodeSession>();
    info = MediaInfo();
    info.channels = SoundLayout().channels;
    opener = std::make_unique<SessionOpener>(session.get(), &info, mOptions);
    opener->ProbeTo(mProbedTo);
    result = opener->Open(mPath);
  }
  mOpenFailure = opener->WhyNotOpened();
  if (result != 0) return -1;
  mInfo = info;
  mFrameBufferSize = session->pictures.Size();
  mAudioBufferSize = session->sound.MaxBlockBytes();
  auto parts = std::make_unique<Parts>(std::move(session));
  if (!parts->IsUsable()) log_error(kDecoderTag, "Could not allocate frame");
  parts->feed.Open(opener->Share().replayBudget);
  parts->scanned = opener->Scanned();
  const bool makesUpStamps = parts->scanned.has_value() && parts->scanned->lacksTimes &&
                             MayRestart(parts->session.input.Context());
  if (mOptions.additions.landsOnStamps && makesUpStamps) parts->seeker.LandOnStamps();
  if (mOptions.additions.keepsMetPicture) parts->seeker.KeepMetPicture();
  mParts = std::move(parts);
  log_debug(kDecoderTag, "=====Init done=====");
  return 0;
}

int FFmpegDecoderImpl2::Release() {
  log_debug(kDecoderTag, "=====Release=====");
  mParts.reset();
  log_debug(kDecoderTag, "=====Release done=====");
  return 0;
}

int FFmpegDecoderImpl2::Seek(double seconds, int mode) {
  return WithParts([&] { return mParts->seeker.Seek(seconds, mode); });
}

int FFmpegDecoderImpl2::DecodeFrame(uint8_t* buffer, uint32_t* size, uint32_t* type, double* pts) {
  DecodedFrame frame;
  const int result = WithParts([&] {
    return mParts->pending.Take(buffer, &frame) ? 0 : mParts->packets.Decode(buffer, &frame);
  });
  if (result != 0) return -1;
  Give(frame, size, type, pts);
  return 0;
}

int FFmpegDecoderImpl2::ReceiveFrame(uint8_t* buffer, uint32_t* size, uint32_t* type, double* pts) {
  DecodedFrame frame;
  if (WithParts([&] { return mParts->receiver.Receive(buffer, &frame); }) != 0) return -1;
  Give(frame, size, type, pts);
  return 0;
}

int FFmpegDecoderImpl2::GetMediaInfo(MediaInfo& info) {
  info = mInfo;
  return 0;
}

int FFmpegDecoderImpl2::GetFrameBufferSize() { return mFrameBufferSize; }

int FFmpegDecoderImpl2::GetAudioBufferSize() { return mAudioBufferSize; }

void FFmpegDecoderImpl2::Finish() {
  LogCounters();
  const int error = HostError();
  if (error != 0) mThrown->Keep(error);
  std::unique_ptr<Parts> parts;
  const but::HeldLock held(mMutex.get());
  // Freed after the lock is given up.
  parts = std::move(mParts);
}

AVFormatContext* FFmpegDecoderImpl2::TakeInput() {
  if (mParts == nullptr) return nullptr;
  ffmpeg::UniqueInput input = mParts->session.input.GiveAway();
  Finish();
  return input.release();
}

int FFmpegDecoderImpl2::RestSound() {
  if (mParts == nullptr) return -1;
  if (mParts->session.audio != nullptr) mParts->session.audio->Rest();
  return 0;
}

int FFmpegDecoderImpl2::HostError() {
  const but::HeldLock held(mMutex.get());
  if (mThrown->Error() != 0 || mParts == nullptr) return mThrown->Error();
  const DecodeSession& session = mParts->session;
  const int error = session.input.Failure().Error();
  return error != 0 ? error : session.sound.Failure();
}

LostPictures FFmpegDecoderImpl2::TakeLost(double from, double to) {
  if (mParts == nullptr || mParts->session.video == nullptr) return {};
  DecodeSession& session = mParts->session;
  const double zero = session.times.FirstVideo();
  LostPictures lost = session.losses.Take(from, to, session.video->Stream()->time_base, zero);
  mParts->latestEnd = std::max(mParts->latestEnd, to);
  // The walk has come to the start of the clip.
  if (from <= 0 && session.missedStart.IsAny()) {
    WithParts([this, zero, &session, &lost] {
      lost.unread += session.missedStart.Count(session.input, zero + mParts->latestEnd);
      return 0;
    });
  }
  return lost;
}

int FFmpegDecoderImpl2::GetWidth() { return mInfo.width; }

int FFmpegDecoderImpl2::GetHeight() { return mInfo.height; }

int FFmpegDecoderImpl2::SoundStream() const {
  const bool hasSound = mParts != nullptr && mParts->session.audio != nullptr;
  return hasSound ? mParts->session.audio->Index() : -1;
}

PassedOverSound FFmpegDecoderImpl2::PassedOver() const {
  return mParts == nullptr ? PassedOverSound() : mParts->session.passedOverSound;
}

void FFmpegDecoderImpl2::LeaveSoundOut() {
  if (mParts == nullptr || mParts->session.audio == nullptr) return;
  mParts->session.input.LeaveOut(mParts->session.audio->Index());
  mParts->session.audio.reset();
  mParts->session.times.ForgetAudio();
}

double FFmpegDecoderImpl2::FirstPictureTime() {
  if (mParts == nullptr || mParts->session.video == nullptr) return 0;
  WithParts([this] {
    TimeProbe probe(&mParts->session);
    probe.Run();
    mParts->firstFields = probe.FirstFields();
    return 0;
  });
  return mParts->session.times.FirstVideo();
}

FieldOrder FFmpegDecoderImpl2::Fields() {
  FieldOrder order = FieldOrder::kProgressive;
  if (mParts == nullptr || mParts->session.video == nullptr) return order;
  WithParts([this, &order] {
    order = FieldProbe(&mParts->session).Run(mParts->firstFields);
    return 0;
  });
  return order;
}

namespace {

// AVI tells only when packets are decoded. If pictures are reordered, the first one comes some
// pictures later than its packet, and so does the end of the last one, which is given here in
// seconds of the file's stamps. Minus infinity for other files.
double PicturesEnd(const DecodeSession& session) {
  constexpr double kUnknown = -std::numeric_limits<double>::infinity();
  const bool isAvi = std::string_view(session.input.Context()->iformat->name) == "avi";
  const int64_t first = session.first_video_pts_;
  if (session.video == nullptr || !isAvi || first == AV_NOPTS_VALUE) return kUnknown;
  const AVStream* const stream = session.video->Stream();
  if (stream->duration <= 0 || session.times.FirstVideo() <= session.video->Seconds(first)) {
    return kUnknown;
  }
  // The first packet may lie far before the others, if the pictures begin later than the sound.
  const double reordered = session.video->Context()->has_b_frames * session.times.PictureSeconds();
  const double late = session.times.FirstVideo() - session.video->Seconds(first);
  return session.video->Seconds(stream->duration) + std::min(late, reordered);
}

constexpr double kUnknownPicture = 0.01;  // seconds: of one in a clip without a rate

}  // namespace

void FFmpegDecoderImpl2::SetZero(double seconds) {
  if (mParts == nullptr) return;
  DecodeSession& session = mParts->session;
  const double picturesEnd = PicturesEnd(session);
  session.times.SetFirstVideo(seconds);
  session.times.SetFirstAudio(seconds);
  mParts->seeker.LeaveTimesAsTheyAre();
  const std::optional<ScannedLength>& scanned = mParts->scanned;
  const std::optional<double> told =
      session.input.Joined() == nullptr ? ToldEnd(session.input.Context(), scanned) : std::nullopt;
  if (!told.has_value() && !scanned.has_value()) return;
  double end = std::max(LikelyEnd(told, scanned), picturesEnd);
  if (scanned.has_value() && LeavesOutPicture(end, *scanned)) {
    const double picture = session.times.PictureSeconds();
    end = scanned->picture + (picture > 0 ? picture : kUnknownPicture);
  }
  session.duration = std::max(0.0, end - seconds);
  if (scanned.has_value() && scanned->lacksTimes) ReachLastPicture();
  mInfo.duration = static_cast<float>(session.duration);
}

// A picture without a stamp may be shown later than its packet tells. So only decoding tells when
// the last one ends.
void FFmpegDecoderImpl2::ReachLastPicture() {
  WithParts([this] {
    DecodeSession& session = mParts->session;
    const double picture = session.times.PictureSeconds();
    const double end = mParts->seeker.LastPicture() + picture;
    // Less is how stamps and lengths are rounded.
    if (end > session.duration + picture / 2) session.duration = end;
    return 0;
  });
}

std::shared_ptr<const JoinedParts> FFmpegDecoderImpl2::Joined() const {
  return mParts == nullptr ? nullptr : mParts->session.input.Joined();
}

double FFmpegDecoderImpl2::Duration() const {
  return mParts == nullptr ? 0 : mParts->session.duration;
}

DecoderCounters FFmpegDecoderImpl2::Counters() const {
  DecoderCounters counters;
  if (mParts == nullptr) return counters;
  const DecodeSession& session = mParts->session;
  counters.packetsRead = session.input.PacketsRead();
  counters.seeks = session.input.Seeks();
  if (session.video != nullptr) counters.videoFramesDecoded = session.video->FramesDecoded();
  if (session.audio != nullptr) counters.audioFramesDecoded = session.audio->FramesDecoded();
  if (const PictureMemo* const memo = mParts->feed.Pictures()) {
    counters.videoFramesReplayed = memo->Count().answered;
  }
  counters.delayedFrames = mParts->packets.DelayedFrames();
  counters.audioClock = session.sound.ConvertedSeconds();
  return counters;
}

int32_t FFmpegDecoderImpl2::KeyInterval() const {
  return mParts == nullptr ? 0 : mParts->session.keyint_;
}

}  // namespace codec
