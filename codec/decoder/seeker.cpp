// SPDX-License-Identifier: MIT
#include "codec/decoder/seeker.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/decoder/packet_clock.h"
#include "codec/decoder/time_probe.h"

namespace codec {
namespace {

constexpr int64_t kMaxWholeSeconds = std::numeric_limits<int64_t>::max() / AV_TIME_BASE;
constexpr int kMaxPreKeyFrameLandings = 2;

int64_t Truncated(double value) {
  // The next float below 2^63.
  constexpr double kLargest = 9223371487098961920.0;
  // What is not a number counts as the smallest one.
  if (!(value > -kLargest)) return -static_cast<int64_t>(kLargest);
  return static_cast<int64_t>(std::min(value, kLargest));
}

}  // namespace

int Seeker::Seek(double seconds, int mode) {
  const auto single = static_cast<float>(seconds);
  mPending->Clear();
  mSource->DeliverSoundFrom(std::nullopt);
  switch (mode) {
    case 2:
      return _SeekNoKeyFrame(single);
    case 3:
      return _SeekDecodeForward(single);
    default:
      return _Seek(single);
  }
}

void Seeker::Flush() {
  mSource->Flush();
  mPackets->Flush();
}

bool Seeker::InRange(float seconds) const {
  // Both comparisons are false for what is not a number.
  if (seconds >= 0 && seconds <= mSession->duration) return true;
  log_error(kDecoderTag, "error time:%0.3f not in [0,%0.3f]", static_cast<double>(seconds),
            mSession->duration);
  return false;
}

int64_t Seeker::TargetPosition(float seconds) const {
  // Without video the demuxer counts in its own units.
  const AVRational timeBase = mSession->video != nullptr ? mSession->video->Stream()->time_base
                                                         : AVRational{1, AV_TIME_BASE};
  const float position =
      static_cast<float>(timeBase.den) * seconds / static_cast<float>(timeBase.num);
  return Truncated(static_cast<double>(position));
}

int64_t Seeker::SeekPosition(int64_t target) const {
  return target > mSession->first_video_pts_ ? target : 0;
}

int Seeker::_Seek(float seconds) {
  if (!InRange(seconds)) return -1;
  InputFile& input = mSession->input;
  const int64_t position = SeekPosition(TargetPosition(seconds));
  const auto firstPts = static_cast<long long>(mSession->first_video_pts_);
  if (mSession->video != nullptr) mSession->video->SkipLoopFilter();
  int result = input.SeekBackward(mSession->VideoIndex(), position);
  if (result < 0) {
    log_warn(kDecoderTag, "_Seek av_seek_frame seek_pts:%lld, first_video_pts_:%lld, res=%d",
             static_cast<long long>(position), firstPts, result);
    if (position == 0) {
      result = input.SeekBackward(mSession->VideoIndex(), mSession->first_video_pts_);
      if (result < 0) {
        log_warn(kDecoderTag, "_Seek av_seek_frame first_video_pts_:%lld, res=%d", firstPts,
                 result);
      }
    }
  }
  if (result >= 0) mSession->times.Restart(static_cast<double>(seconds));
  Flush();
  return 0;
}

int Seeker::_SeekPreKeyFrame(float seconds) {
  if (!InRange(seconds)) return -1;
  const int64_t target = TargetPosition(seconds);
  if (mSession->input.SeekBackward(mSession->VideoIndex(), SeekPosition(target)) < 0) {
    log_error(kDecoderTag, "could not seek to position %0.3f", static_cast<double>(seconds));
    return -1;
  }
  mSession->times.Restart(static_cast<double>(seconds));
  const int result = mSession->keyint_ == 0 ? 0 : StepBackFrom(target);
  Flush();
  return result;
}

// From the demuxer's landing to one key frame before. Pictures that need the group before theirs
// decode from there.
int Seeker::StepBackFrom(int64_t target) {
  InputFile& input = mSession->input;
  AVPacket* const packet = mPacket.get();
  const int video = mSession->VideoIndex();
  int landings = 1;
  while (input.Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    if (packet->stream_index != video) continue;
    const int64_t timestamp = PacketTimestamp(packet);
    if ((packet->flags & AV_PKT_FLAG_KEY) != 0) return SeekBeforeKey(timestamp);
    if (target <= mSession->first_video_pts_) {
      input.SeekBackward(video, SeekPosition(target));
      return -1;
    }
    ++landings;
    const int64_t interval = mSession->keyint_;
    const int64_t position = timestamp < interval + 1 ? 0 : timestamp - interval - 1;
    if (input.SeekBackward(video, position) < 0) {
      log_error(kDecoderTag, "could not seek to position %lld", static_cast<long long>(position));
      return -1;
    }
    if (landings > kMaxPreKeyFrameLandings) {
      log_warn(kDecoderTag, "_SeekPreKeyFrame failed, repeat %d count", landings);
      return -1;
    }
  }
  return -1;
}

int Seeker::SeekBeforeKey(int64_t timestamp) {
  const int64_t position = timestamp > 0 ? timestamp - 1 : timestamp;
  if (mSession->input.SeekBackward(mSession->VideoIndex(), position) >= 0) return 0;
  log_error(kDecoderTag, "could not seek to position %lld", static_cast<long long>(position));
  return -1;
}

int Seeker::_SeekNoKeyFrame(float seconds) {
  if (_SeekPreKeyFrame(seconds) != 0) {
    log_error(kDecoderTag, "_SeekNoKeyFrame failed");
    return -1;
  }
  if (DecodeToPending(seconds) == 0) return 0;
  log_error(kDecoderTag, "_SeekNoKeyFrame failed, use seek to key frame");
  _Seek(seconds);
  return -1;
}

int Seeker::DecodeToPending(float seconds) {
  // Sound is decoded into the same buffer on the way.
  const int bytes = std::max(mSession->pictures.Size(), mSession->sound.MaxBlockBytes());
  if (!mPending->Reserve(static_cast<size_t>(bytes))) return -1;
  DecodedFrame frame;
  do {
    if (mPackets->Decode(mPending->Buffer(), &frame) != 0) return -1;
  } while (frame.type != kVideoFrame || !ReachesTime(frame.pts, seconds));
  mPending->Hold(frame);
  return 0;
}

// 1. Find the first times, once.
// 2. Move to a key frame at or before the whole second.
// 3. Decode pictures until the first one at or after the time; it is consumed.
// 4. If the first picture that can be decoded is after the time, go back further. The demuxer
//    landed on a later key frame, or in a group whose start the decoder needs.
// 5. If the pictures end before the time, move to the sound of that second alone.
int Seeker::_SeekDecodeForward(float seconds) {
  if (mSession->video == nullptr) return -1;
  if (mNeedsTimeProbe) {
    mNeedsTimeProbe = false;
    TimeProbe(mSession).Run();
  }
  if (seconds > mSession->duration) seconds = static_cast<float>(mSession->duration);
  if (!(seconds > 0)) seconds = 0;
  const int64_t target = std::min(Truncated(static_cast<double>(seconds)), kMaxWholeSeconds);
  // Once the end of the pictures is known, nobody has to look for pictures after it.
  const bool isAfterAll = static_cast<double>(seconds) > mLastPicture;
  const Walk walk = isAfterAll ? Walk::kEnded : Approach(target, seconds);
  if (walk == Walk::kReached) return 0;
  if (walk == Walk::kEnded) MoveToSound(target);
  return -1;
}

double Seeker::LastPicture() {
  const int64_t target = std::min(Truncated(mSession->duration), kMaxWholeSeconds);
  Approach(target, std::numeric_limits<float>::infinity());
  return std::isinf(mLastPicture) ? -std::numeric_limits<double>::infinity() : mLastPicture;
}

// Lands at the whole second or further back, and walks to the time.
Seeker::Walk Seeker::Approach(int64_t target, float seconds) {
  Way way = mWay.Serves(target) ? mWay : Way{target, target, target};
  int64_t back = 1;
  Walk walk = Walk::kOvershot;
  while (walk == Walk::kOvershot) {
    MoveToWhole(way.landing);
    mSource->BeginWalk(FirstWantedStamp(seconds));
    walk = seconds == 0 ? Walk::kReached : WalkTo(seconds, way.landing > 0);
    mSource->EndWalk();
    if (walk != Walk::kOvershot) break;
    way.failed = way.landing;
    way.landing = std::max<int64_t>(0, way.landing - back);
    back *= 2;
  }
  if (way.landing < way.failed) mWay = way;
  return walk;
}

// Stamps of recordings may begin at hours. Without the first time a position would be before the
// first packet, and every walk would begin there. The position is a whole second, so the fraction
// does not matter.
int64_t Seeker::PositionOf(int64_t seconds) const {
  const double first = mSession->times.FirstVideo();
  const double start = std::abs(first) < 1 ? 0 : std::floor(first);
  const auto largest = static_cast<double>(kMaxWholeSeconds);
  const double position = std::clamp(static_cast<double>(seconds) + start, -largest, largest);
  return std::clamp(static_cast<int64_t>(position), -kMaxWholeSeconds, kMaxWholeSeconds) *
         AV_TIME_BASE;
}

// Pictures with earlier stamps are surely passed by.
int64_t Seeker::FirstWantedStamp(float seconds) const {
  if (!mKeepsMetPicture) return std::numeric_limits<int64_t>::max();
  constexpr double kRounded = 0.001;
  const double time = static_cast<double>(seconds) + mSession->times.FirstVideo() - kRounded;
  return Truncated(std::floor(time * mSession->video->TicksPerSecond()));
}

void Seeker::MoveToWhole(int64_t seconds) {
  InputFile& input = mSession->input;
  if (seconds != 0 && input.SeekBackward(-1, PositionOf(seconds)) >= 0) {
    mSession->times.Restart(static_cast<double>(seconds));
    Flush();
    mSession->video->AwaitKey(mLandsOnStamps);
    return;
  }
  // To the start, also if the demuxer cannot move to the second: every time is reached from there.
  if (input.SeekToStart(std::numeric_limits<int64_t>::min()) >= 0) {
    mSession->times.Restart(0);
  } else {
    log_warn(kDecoderTag, "could not move to %lld s, reading on", static_cast<long long>(seconds));
  }
  Flush();
}

// Sound that lasts longer than the pictures is read second by second, too. Moving by the pictures
// would land at their end and give all of the later sound at once.
void Seeker::MoveToSound(int64_t seconds) {
  StreamDecoder* const audio = mSession->audio.get();
  if (audio == nullptr) {
    Flush();
    mSession->video->Rest();
    return;
  }
  const double time = static_cast<double>(seconds) + mSession->times.FirstAudio();
  const int64_t ticks = Truncated(time * audio->TicksPerSecond());
  if (mSession->input.SeekBackward(audio->Index(), ticks) < 0) MoveToWhole(seconds);
  mSession->times.Restart(static_cast<double>(seconds));
  Flush();
  mSession->video->Rest();
  // In many containers a seek lands before the second that was asked for.
  mSource->DeliverSoundFrom(static_cast<double>(seconds));
}

Seeker::Walk Seeker::WalkTo(float seconds, bool mayOvershoot) {
  AVFrame* const frame = mFrame.get();
  double last = -std::numeric_limits<double>::infinity();
  for (bool first = true;; first = false) {
    const int result = mSource->NextPicture(frame);
    if (result < 0) {
      if (first && mayOvershoot) return Walk::kOvershot;
      mLastPicture = last;
      return Walk::kEnded;
    }
    const ffmpeg::FrameGuard guard(frame);
    const double time = mSession->times.OfVideo(frame);
    last = std::max(last, time);
    if (!ReachesTime(time, seconds)) continue;
    const bool behind = time - seconds >= FLT_EPSILON;
    if (first && behind && mayOvershoot) return Walk::kOvershot;
    if (mKeepsMetPicture) {
      mSession->times.RepeatVideo(time);
      mSource->Hold(frame);
    }
    return Walk::kReached;
  }
}

}  // namespace codec
