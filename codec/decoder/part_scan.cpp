// SPDX-License-Identifier: MIT
#include "codec/decoder/part_scan.h"

#include <algorithm>
#include <utility>

#include "codec/decoder/fresh_start.h"
#include "codec/decoder/packet_clock.h"
#include "codec/decoder/sound_choice.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

constexpr AVRational kMicroseconds = {1, AV_TIME_BASE};
// Stamps beyond tell no time, and could not be reckoned with.
constexpr int64_t kLatest = int64_t{1} << 60;

std::optional<int64_t> Time(int64_t ticks, const AVStream* stream) {
  if (ticks == AV_NOPTS_VALUE) return std::nullopt;
  const int64_t time = av_rescale_q(ticks, stream->time_base, kMicroseconds);
  if (time < -kLatest || time > kLatest) return std::nullopt;
  return time;
}

int64_t SaneLength(const AVPacket* packet, const AVStream* stream) {
  constexpr int64_t kLongest = int64_t{3600} * AV_TIME_BASE;
  return std::clamp<int64_t>(LengthOf(packet, stream, kMicroseconds), 0, kLongest);
}

// Stamps of decoding that the demuxer has made up from those before a restart are left out.
std::optional<int64_t> Decoded(const AVPacket* packet, const AVStream* stream) {
  constexpr int64_t kLongestDelay = int64_t{5} * AV_TIME_BASE;
  const std::optional<int64_t> decoded = Time(packet->dts, stream);
  const std::optional<int64_t> shown = Time(packet->pts, stream);
  if (!decoded || !shown || *shown < *decoded || *shown - *decoded > kLongestDelay) {
    return std::nullopt;
  }
  return decoded;
}

}  // namespace

int PartScan::Run(const std::string& path, bool endsAtRestart) {
  mRefusesRestarts = endsAtRestart;
  if (mInput.Open(path) != 0) return -1;
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  if (packet == nullptr) {
    mInput.Failure().Keep(AVERROR(ENOMEM));
    return -1;
  }
  while (!mObstacle.has_value() && mInput.Read(packet.get())) {
    const ffmpeg::PacketGuard guard(packet.get());
    NoteStreams();
    Look(packet.get());
  }
  NoteStreams();
  while (!mWindow.empty()) TakeFirst();
  mClock.End();
  if (!mObstacle.has_value()) LookForSuccessors();
  if (!mObstacle.has_value()) LookAtEnd();
  return 0;
}

std::optional<ScannedLength> PartScan::Length() const {
  const std::optional<int64_t> last = mClock.Joined().End();
  if (!last.has_value()) return std::nullopt;
  const double end = static_cast<double>(*last) / AV_TIME_BASE;
  ScannedLength length = {end, end};
  if (const std::optional<int64_t> picture = mClock.Joined().LastPicture()) {
    length.picture = static_cast<double>(*picture) / AV_TIME_BASE;
  }
  length.lacksTimes = mLacksTimes;
  return length;
}

std::shared_ptr<const JoinedParts> PartScan::Parts() const {
  if (mObstacle.has_value() || mClock.Joined().Count() < 2) return nullptr;
  return std::make_shared<const JoinedParts>(mClock.Joined());
}

std::optional<UnprobedSound> PartScan::SoundUnknownTo(const AVFormatContext* probed) const {
  std::optional<UnprobedSound> found;
  for (size_t i = 0; i < mSeen.size(); ++i) {
    const AVStream* const stream = mInput.Context()->streams[i];
    const bool isSound = stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    if (!isSound || mSeen[i].packets == 0) continue;
    if (i < probed->nb_streams && IsKnownSound(probed->streams[i])) continue;
    if (found.has_value() && found->position <= mSeen[i].first) continue;
    found = UnprobedSound{stream->index, mSeen[i].first};
  }
  return found;
}

void PartScan::NoteStreams() {
  const AVFormatContext* const file = mInput.Context();
  if (mSeen.size() < file->nb_streams) mSeen.resize(file->nb_streams);
}

void PartScan::Look(const AVPacket* packet) {
  constexpr size_t kWindow = 1024;
  Stream& stream = mSeen[static_cast<size_t>(packet->stream_index)];
  ClockedPacket clocked;
  clocked.isFirstThere = packet->pos >= 0 && (stream.first < 0 || packet->pos != stream.position);
  if (packet->pos >= 0) stream.position = packet->pos;
  if (stream.first < 0) stream.first = stream.position;
  ++stream.packets;
  const auto found = std::find(mStreams.begin(), mStreams.end(), packet->stream_index);
  if (found == mStreams.end()) return;
  if (found == mStreams.begin() && packet->pts == AV_NOPTS_VALUE) mLacksTimes = true;
  const AVStream* const from = mInput.Context()->streams[packet->stream_index];
  clocked.position = stream.position;
  clocked.track = static_cast<size_t>(found - mStreams.begin());
  clocked.shown = Time(StampOf(packet), from);
  clocked.decoded = Decoded(packet, from);
  clocked.length = SaneLength(packet, from);
  clocked.isKey = packet->pts != AV_NOPTS_VALUE && (packet->flags & AV_PKT_FLAG_KEY) != 0;
  clocked.losesLeading = LosesLeading(from->codecpar->codec_id, *packet);
  Insert(clocked);
  if (mWindow.size() > kWindow) TakeFirst();
}

void PartScan::Insert(const ClockedPacket& packet) {
  auto place = mWindow.end();
  while (place != mWindow.begin() && packet.position < std::prev(place)->position) --place;
  mWindow.insert(place, packet);
}

void PartScan::TakeFirst() {
  mClock.Take(mWindow);
  mWindow.pop_front();
  if (mObstacle.has_value()) return;
  if (mRefusesRestarts && mClock.Parts() > 1) {
    Refuse("its clock restarts", Seconds(), mClock.LastPosition());
  } else if (mClock.IsErratic()) {
    Refuse("its clock goes to and fro", Seconds(), mClock.LastPosition());
  }
}

// A recording whose streams are numbered otherwise is in streams that have no packet beside those
// of the chosen one.
void PartScan::LookForSuccessors() {
  constexpr int64_t kFewest = 10;
  const AVFormatContext* const file = mInput.Context();
  for (const int number : mStreams) {
    if (number < 0) continue;
    const Stream& chosen = mSeen[static_cast<size_t>(number)];
    if (chosen.packets == 0) continue;
    const AVMediaType type = file->streams[number]->codecpar->codec_type;
    for (size_t i = 0; i < mSeen.size(); ++i) {
      const Stream& other = mSeen[i];
      if (i == static_cast<size_t>(number) || other.packets < kFewest) continue;
      if (file->streams[i]->codecpar->codec_type != type) continue;
      const bool isAfter = other.first > chosen.position;
      if (!isAfter && other.position > chosen.first) continue;
      const std::string kind = type == AVMEDIA_TYPE_VIDEO ? "video" : "sound";
      return isAfter ? Refuse("its " + kind + " goes on in another stream", Seconds(), other.first)
                     : Refuse("its " + kind + " begins in another stream", 0, other.first);
    }
  }
}

// Ogg files of several streams were joined.
void PartScan::LookAtEnd() {
  if (mInput.EndError() != AVERROR_PATCHWELCOME) return;
  int64_t last = 0;
  for (const Stream& stream : mSeen) last = std::max(last, stream.position);
  Refuse("FFmpeg cannot go on", Seconds(), last);
}

double PartScan::Seconds() const { return static_cast<double>(mClock.Length()) / AV_TIME_BASE; }

void PartScan::Refuse(const std::string& what, double seconds, int64_t position) {
  mObstacle = PartObstacle{what, seconds, position, mRefusesRestarts && mClock.Parts() > 1};
}

}  // namespace codec
