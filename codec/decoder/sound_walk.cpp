// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_walk.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/sound_preroll.h"

namespace codec {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

PrerollNeed NeedOf(const SoundPreroll& preroll) {
  return {preroll.Seconds(), static_cast<size_t>(preroll.Packets())};
}

}  // namespace

int SoundWalk::Open(const std::string& path, int streamIndex,
                    const std::shared_ptr<const JoinedParts>& parts, int64_t probedTo) {
  mFrame.reset(av_frame_alloc());
  if (mFrame == nullptr) {
    mFailure.Keep(AVERROR(ENOMEM));
    log_error(kDecoderTag, "Could not allocate frame");
    return -1;
  }
  if (mInput.Open(path, streamIndex, parts, probedTo) != 0) return -1;
  const AVStream* const stream = mInput.Stream();
  const SoundPreroll preroll(*stream->codecpar);
  if (mDecoder.Open(stream, preroll.DecoderOption(), &mFailure) != 0) return -1;
  if (mConverter.Open(mDecoder.Context()) != 0) return -1;
  mConverter.DeliverWholeBlocks();
  mSampleRate = mDecoder.Context()->sample_rate;
  mSourceLayout = LayoutOf(mDecoder.Context());
  mNeed = NeedOf(preroll);
  mHeld = HeldPackets(mNeed);
  if (FindFirstTime() != 0) return -1;
  mInput.LearnIndex();
  return 0;
}

int SoundWalk::FindFirstTime() {
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  if (packet == nullptr) {
    mFailure.Keep(AVERROR(ENOMEM));
    return -1;
  }
  for (bool more = true; more && !mFirstTime.has_value();) {
    const ffmpeg::PacketGuard guard(packet.get());
    more = mInput.Read(packet.get());
    if (more) mLongestPacket = std::max(mLongestPacket, mInput.LengthOf(packet.get()));
    mDecoder.Send(more ? packet.get() : nullptr);
    if (!mDecoder.Receive(mFrame.get())) continue;
    const ffmpeg::FrameGuard frameGuard(mFrame.get());
    // A decoder may have been announced another rate or layout than it gives.
    if (mFrame->sample_rate > 0) mSampleRate = mFrame->sample_rate;
    mSourceLayout = LayoutOf(mFrame.get());
    mConverter.AdaptChangesFrom(mFrame.get());
    const int64_t stamp = mFrame->best_effort_timestamp;
    mFirstTime = stamp == AV_NOPTS_VALUE ? 0 : mInput.Seconds(stamp);
    // Not every container says how long a packet lasts.
    mLongestPacket =
        std::max(mLongestPacket, static_cast<double>(mFrame->nb_samples) / mSampleRate);
  }
  return 0;
}

void SoundWalk::SetZero(double seconds) {
  mZero = seconds;
  mSilence = {kInfinity, 0};
}

int SoundWalk::Failure() const {
  if (mFailure.Error() != 0) return mFailure.Error();
  return mInput.Failure() != 0 ? mInput.Failure() : mConverter.Failure();
}

int SoundWalk::Read(double from, double to, SoundStretch* out) {
  out->Clear();
  const SoundSpan range{from, to};
  const bool isSilent = mSilence.from <= from && to <= mSilence.to;
  if (!(from < to) || isSilent || !mFirstTime.has_value()) return 0;
  if (MoveAndHold(from) != 0) return -1;
  if (mDecoder.Start(mInput.Stream()) != 0) return -1;
  const double first = mHeld.Size() > 0 ? mInput.SecondsOf(mHeld.At(0)) - mZero : 0;
  SoundCut cut(range, mInput.Stream()->time_base, mZero, std::isnan(first) ? 0 : first, &mConverter,
               out);
  if (mInput.CountsStamps()) cut.CorrectCounted();
  Decode(range, &cut);
  RememberSilence(range, cut, *out);
  mHeld.StartOver(0);
  return 0;
}

double SoundWalk::LeadIn() const {
  const auto packets = static_cast<double>(mNeed.packets + HeldPackets::kHeard + 1);
  return mNeed.seconds + packets * mLongestPacket;
}

int SoundWalk::MoveAndHold(double from) {
  double aim = mZero + from - LeadIn();
  for (double further = 1;; further *= 2) {
    const bool toStart = !(aim > mInput.FirstSeconds()) || !mInput.MoveBefore(aim);
    if (toStart && mInput.MoveToStart() != 0) return -1;
    mMetFirst = toStart;
    if (Hold(from) || toStart) return 0;
    if (Failure() != 0) return -1;
    aim -= further;
  }
}

// Whether the packets held are enough.
bool SoundWalk::Hold(double from) {
  mHeld.StartOver(from);
  mAtEnd = false;
  mNextPlace = mMetFirst ? 0 : kUnknown;
  size_t met = 0;
  do {
    AVPacket* const packet = mHeld.Blank();
    if (packet == nullptr) mFailure.Keep(AVERROR(ENOMEM));
    mAtEnd = packet == nullptr || !mInput.Read(packet);
    if (mAtEnd) break;
    if (met == 0 && mInput.IsFirst(packet)) {
      mMetFirst = true;
      mNextPlace = 0;
    }
    mPlace = Place(packet);
    ++met;
    // A landing may be in the middle of what has one stamp.
    if (std::isnan(mPlace)) {
      av_packet_unref(packet);
    } else {
      mHeld.Add(mPlace, Lasts(packet));
    }
  } while (!(mPlace > from));
  mHoldsFirst = mMetFirst && mHeld.Size() == met;
  return mMetFirst || mHeld.Suffices();
}

double SoundWalk::Place(const AVPacket* packet) {
  const double seconds = mInput.SecondsOf(packet) - mZero;
  const double place = std::isnan(seconds) ? mNextPlace : seconds;
  mNextPlace = place + mInput.LengthOf(packet);
  return place;
}

double SoundWalk::Lasts(const AVPacket* packet) {
  constexpr double kShortest = 0.0025;
  constexpr double kLongest = 1.5;
  double seconds = mInput.LengthOf(packet);
  if (seconds <= 0) seconds = mLongestPacket;
  seconds = std::clamp(seconds, kShortest, kLongest);
  mLongestPacket = std::max(mLongestPacket, seconds);
  return seconds;
}

void SoundWalk::Decode(const SoundSpan& range, SoundCut* cut) {
  // Stamps may go back, as in a recording that was put together.
  constexpr double kBeyond = 0.5;
  constexpr int kPacketsBeyond = 2;
  if (mHoldsFirst) cut->BeginStream();
  for (size_t i = 0; i < mHeld.Size(); ++i) {
    const bool heard = mHoldsFirst || i >= mHeld.FirstHeard();
    const bool decoded = DecodePacket(mHeld.At(i), heard, cut);
    if (heard && !decoded) cut->Miss(mHeld.BeginOf(i), mHeld.LengthOf(i));
  }
  AVPacket* const packet = mHeld.Blank();
  if (packet == nullptr) mFailure.Keep(AVERROR(ENOMEM));
  int beyond = 0;
  while (!mAtEnd && packet != nullptr) {
    beyond = mPlace >= range.to + kBeyond ? beyond + 1 : 0;
    if (beyond >= kPacketsBeyond) return;
    mAtEnd = !mInput.Read(packet);
    if (mAtEnd) break;
    const ffmpeg::PacketGuard guard(packet);
    mPlace = Place(packet);
    if (!DecodePacket(packet, true, cut)) cut->Miss(mPlace, Lasts(packet));
  }
  DecodePacket(nullptr, true, cut);
  cut->EndStream();
}

bool SoundWalk::DecodePacket(AVPacket* packet, bool heard, SoundCut* cut) {
  mDecoder.Send(packet);
  while (mDecoder.Receive(mFrame.get())) {
    const ffmpeg::FrameGuard guard(mFrame.get());
    if (heard) {
      cut->Take(mFrame.get());
    } else {
      cut->Pass(mFrame.get());
    }
  }
  return !mDecoder.HasFailed();
}

void SoundWalk::RememberSilence(const SoundSpan& range, const SoundCut& cut,
                                const SoundStretch& out) {
  const bool knowsBefore = mHoldsFirst || !std::isinf(cut.EndBefore());
  // Silence that was lost has to be told by each reading.
  if (!knowsBefore || cut.HasMissed()) return;
  mSilence.from = cut.EndBefore();
  if (!out.blocks.empty()) {
    mSilence.to = out.blocks.front().time;
  } else if (mAtEnd || !std::isinf(cut.StartAfter())) {
    mSilence.to = cut.StartAfter();
  } else {
    mSilence.to = range.to;
  }
}

}  // namespace codec
