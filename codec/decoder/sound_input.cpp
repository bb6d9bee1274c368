// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_input.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/packet_clock.h"
#include "codec/ffmpeg/compat_decoding.h"

namespace codec {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

int64_t Ticks(const AVStream* stream, double seconds) {
  constexpr double kLargest = 4e18;
  const double ticks = seconds * stream->time_base.den / stream->time_base.num;
  return static_cast<int64_t>(std::floor(std::clamp(ticks, -kLargest, kLargest)));
}

bool SameBytes(const uint8_t* a, size_t sizeOfA, const uint8_t* b, size_t sizeOfB) {
  return sizeOfA == sizeOfB && (sizeOfA == 0 || std::memcmp(a, b, sizeOfA) == 0);
}

}  // namespace

int SoundInput::Open(const std::string& path, int streamIndex,
                     const std::shared_ptr<const JoinedParts>& parts, int64_t probedTo) {
  mParts = parts;
  mProbedTo = probedTo;
  mPath = path;
  mIndex = streamIndex;
  return OpenInput() == 0 && KeepFirst() == 0 ? 0 : -1;
}

// The same file has been opened just before. So if it cannot be opened now, the host is to blame.
int SoundInput::OpenInput() {
  if (mInput != nullptr && mFailure.Error() == 0) mFailure.Note(mInput->Failure().Error());
  mInput = std::make_unique<InputFile>();
  mInput->SkipHoles();
  mInput->ProbeTo(mProbedTo);
  ++mOpens;
  if (mInput->Open(mPath) != 0) {
    mFailure.Keep(AVERROR(EIO));
    return -1;
  }
  mInput->Join(mParts);
  AVFormatContext* const file = mInput->Context();
  if (mIndex < 0 || static_cast<unsigned>(mIndex) >= file->nb_streams) {
    log_error(kDecoderTag, "Could not find audio stream in input file '%s'", mPath.c_str());
    return -1;
  }
  mVideo = av_find_best_stream(file, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  for (unsigned i = 0; i < file->nb_streams; ++i) {
    file->streams[i]->discard = static_cast<int>(i) == mIndex ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
  return 0;
}

int SoundInput::KeepFirst() {
  ffmpeg::UniquePacket packet(av_packet_alloc());
  if (packet == nullptr) {
    mFailure.Keep(AVERROR(ENOMEM));
    return -1;
  }
  mFirstSeconds = kInfinity;
  if (!Read(packet.get())) return 0;
  mFirst.reset(av_packet_clone(packet.get()));
  if (mFirst == nullptr) {
    mFailure.Keep(AVERROR(ENOMEM));
    return -1;
  }
  const double seconds = SecondsOf(mFirst.get());
  if (!std::isnan(seconds)) mFirstSeconds = seconds;
  std::vector<ffmpeg::UniquePacket> again;
  again.push_back(std::move(packet));
  mInput->PutBack(std::move(again));
  return 0;
}

bool SoundInput::Read(AVPacket* packet) {
  while (mInput->Read(packet)) {
    ++mPacketsRead;
    // Not every demuxer minds which streams are switched off.
    const bool isWanted = packet->stream_index == mIndex;
    if (isWanted && !IsFirst(packet)) return true;
    av_packet_unref(packet);
    // Only once has it what the decoder is told with it, such as how much to trim.
    if (isWanted) return mFailure.Note(av_packet_ref(packet, mFirst.get())) >= 0;
  }
  return false;
}

// If the file has an index, the stream whose entry is nearest to the time leads there. Matroska
// indexes the video only. Its index of the sound holds just what has been read so far, and may lead
// to a place far before the time. Without an index the demuxer looks for stamps of the stream that
// it is given. A stream that is switched off has none.
bool SoundInput::MoveBefore(double seconds) {
  constexpr double kAsNear = 0.5;
  const double bySound = Indexed(mIndex, seconds);
  const double byVideo = Indexed(mVideo, seconds);
  const bool videoIsNearer = byVideo > bySound + kAsNear;
  if (videoIsNearer && Seek(mVideo, seconds)) return true;
  return Seek(mIndex, seconds);
}

double SoundInput::Indexed(int stream, double seconds) const {
  if (stream < 0) return -kInfinity;
  AVStream* const indexed = mInput->Context()->streams[stream];
  const int64_t entry = ffmpeg::IndexedAtOrBefore(indexed, Ticks(indexed, seconds));
  return entry == AV_NOPTS_VALUE ? -kInfinity : codec::Seconds(entry, indexed->time_base);
}

bool SoundInput::Seek(int stream, double seconds) {
  ++mSeeks;
  return mInput->SeekBackward(stream, Ticks(mInput->Context()->streams[stream], seconds)) >= 0;
}

void SoundInput::LearnIndex() {
  const bool hasIndex = !std::isinf(Indexed(mVideo, kInfinity));
  if (hasIndex) Seek(mVideo, std::isinf(mFirstSeconds) ? 0 : mFirstSeconds);
}

int SoundInput::MoveToStart() {
  if (!HasPackets()) return 0;
  // A seek may leave out packets that are not heard, unless it goes to an earlier time.
  constexpr std::array<double, 2> kEarlier = {1, 0};
  while (!std::isinf(mFirstSeconds) && mStartWay < kEarlier.size()) {
    if (Seek(mIndex, mFirstSeconds - kEarlier[mStartWay]) && LandedOnFirst()) return 0;
    ++mStartWay;
  }
  return OpenInput();
}

bool SoundInput::LandedOnFirst() {
  ffmpeg::UniquePacket packet(av_packet_alloc());
  if (packet == nullptr) mFailure.Keep(AVERROR(ENOMEM));
  if (packet == nullptr || !Read(packet.get()) || !IsFirst(packet.get())) return false;
  std::vector<ffmpeg::UniquePacket> again;
  again.push_back(std::move(packet));
  mInput->PutBack(std::move(again));
  return true;
}

bool SoundInput::IsFirst(const AVPacket* packet) const {
  return HasPackets() && packet->pts == mFirst->pts && packet->dts == mFirst->dts &&
         SameBytes(packet->data, static_cast<size_t>(packet->size), mFirst->data,
                   static_cast<size_t>(mFirst->size));
}

double SoundInput::Seconds(int64_t ticks) const {
  return codec::Seconds(ticks, Stream()->time_base);
}

bool SoundInput::CountsStamps() const {
  const AVRational sample = {1, Stream()->codecpar->sample_rate};
  const bool ticksAreSamples = av_cmp_q(Stream()->time_base, sample) == 0;
  return (mInput->Context()->iformat->flags & AVFMT_TS_DISCONT) != 0 && !ticksAreSamples;
}

double SoundInput::SecondsOf(const AVPacket* packet) const {
  const int64_t stamp = StampOf(packet);
  if (stamp == AV_NOPTS_VALUE) return std::numeric_limits<double>::quiet_NaN();
  return Seconds(stamp);
}

double SoundInput::LengthOf(const AVPacket* packet) const {
  return Seconds(std::max<int64_t>(packet->duration, 0));
}

}  // namespace codec
