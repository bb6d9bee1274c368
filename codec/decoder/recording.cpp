#include "codec/decoder/recording.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "codec/decoder/frame_times.h"

namespace codec {
namespace {

int64_t BufferBytes(const AVFrame* frame) {
  int64_t bytes = 0;
  for (const AVBufferRef* buffer : frame->buf) {
    if (buffer != nullptr) bytes += static_cast<int64_t>(buffer->size);
  }
  return bytes;
}

bool IsIntact(const AVFrame* frame) {
  return frame->decode_error_flags == 0 && (frame->flags & AV_FRAME_FLAG_CORRUPT) == 0;
}

// Whether two pictures have the same stamp and the same samples.
bool IsSamePicture(const AVFrame* a, const AVFrame* b) {
  if (a->best_effort_timestamp != b->best_effort_timestamp || a->format != b->format ||
      a->width != b->width || a->height != b->height) {
    return false;
  }
  const auto format = static_cast<AVPixelFormat>(a->format);
  const AVPixFmtDescriptor* const descriptor = av_pix_fmt_desc_get(format);
  for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
    const bool isChroma = plane == 1 || plane == 2;
    const int rows = isChroma ? AV_CEIL_RSHIFT(a->height, descriptor->log2_chroma_h) : a->height;
    const int bytes = av_image_get_linesize(format, a->width, plane);
    for (int row = 0; row < rows; ++row) {
      if (std::memcmp(a->data[plane] + std::ptrdiff_t{row} * a->linesize[plane],
                      b->data[plane] + std::ptrdiff_t{row} * b->linesize[plane],
                      static_cast<size_t>(std::max(bytes, 0))) != 0) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace

void Recording::Begin(std::vector<PacketIdentity> landing) {
  Clear();
  Open(std::move(landing));
}

void Recording::BeginBeforeGroup(std::vector<PacketIdentity> landing) {
  SetRestAside(true);
  Open(std::move(landing));
}

void Recording::Open(std::vector<PacketIdentity> landing) {
  mLanding = std::move(landing);
  mOpen = mPolicy.IsEnabled() && !mLanding.empty();
}

void Recording::BeginBeforeRest() {
  SetRestAside(false);
  mOpen = true;
}

void Recording::SetRestAside(bool isGroup) {
  mRest = std::exchange(mEvents, {});
  mPolicy.SetAside();
  mFirstOfRest = std::exchange(mFirstEvent, 0);
  mEventsMet = 0;
  mRestIsGroup = isGroup;
  mRestIsUsed = false;
  mMatched = 0;
  mPicturesMatched = 0;
  mSoundMatched = false;
}

void Recording::DropRest() {
  mRest.clear();
  mPolicy.ReleaseAside();
}

void Recording::Clear() {
  GiveUp();
  mRest.clear();
  mPolicy.Clear();
  mEventsMet = 0;
}

// What is recorded now, but not the rest: it may be in use.
void Recording::GiveUp() {
  mPolicy.RemoveNewest(mEvents.size());
  mLanding.clear();
  mEvents.clear();
  mFirstEvent = 0;
  mOpen = false;
}

void Recording::AddVideoPacket(const AVPacket* packet) {
  AddEvent(RecordedEvent::Kind::kVideo, PacketIdentity::Of(packet, false), nullptr);
}

void Recording::AddAudioPacket(const AVPacket* packet) {
  AddEvent(RecordedEvent::Kind::kAudio, PacketIdentity::Of(packet, false), packet);
}

void Recording::AddEnd() {
  AddEvent(RecordedEvent::Kind::kEnd, {}, nullptr);
  // What lay ahead before is out of reach.
  if (!mRestIsUsed) DropRest();
}

void Recording::CloseAtDelivery() {
  // The drained decoder may have more to give.
  const bool isDraining =
      mOpen && !mEvents.empty() && mEvents.back().kind == RecordedEvent::Kind::kEnd;
  Close();
  if (isDraining) Truncate(EventsEnd() - 2);
}

// What is recorded now serves more steps than a later group does.
void Recording::MakeRoom(int64_t bytes) {
  if (AwaitsGroup() && !mPolicy.Fits(bytes)) DropRest();
}

void Recording::AddEvent(RecordedEvent::Kind kind, const PacketIdentity& identity,
                         const AVPacket* packet) {
  ++mEventsMet;
  if (AwaitsGroup()) FollowRest(kind, identity);
  if (!mOpen) return;
  RecordedEvent event;
  event.kind = kind;
  event.identity = identity;
  if (packet != nullptr) {
    event.packet.reset(av_packet_clone(packet));
    if (event.packet == nullptr) return GiveUp();
  }
  mEvents.push_back(std::move(event));
  const int64_t bytes = packet == nullptr ? 0 : packet->size;
  MakeRoom(bytes);
  DropOldest(mPolicy.Add(bytes));
}

void Recording::AddPicture(const AVFrame* frame, double time) {
  if (!mOpen || mEvents.empty()) return;
  // A time that was only estimated depends on the way here, so it would differ the second time.
  ffmpeg::UniqueFrame kept(frame->best_effort_timestamp == AV_NOPTS_VALUE ? nullptr
                                                                          : av_frame_clone(frame));
  if (kept == nullptr) return GiveUp();
  const int64_t bytes = BufferBytes(frame);
  MakeRoom(bytes);
  mEvents.back().pictures.push_back({std::move(kept), time});
  DropOldest(mPolicy.Grow(bytes));
}

void Recording::DropOldest(size_t count) {
  mEvents.erase(mEvents.begin(), mEvents.begin() + static_cast<std::ptrdiff_t>(count));
  mFirstEvent += static_cast<int64_t>(count);
}

void Recording::Truncate(int64_t event) {
  if (event + 1 >= EventsEnd()) return;
  const auto kept = static_cast<size_t>(std::max<int64_t>(0, event + 1 - mFirstEvent));
  mPolicy.RemoveNewest(mEvents.size() - kept);
  mEvents.erase(mEvents.begin() + static_cast<std::ptrdiff_t>(kept), mEvents.end());
}

bool Recording::Serves(const std::vector<PacketIdentity>& landing, float seconds) const {
  if (mLanding.empty() || mLanding != landing) return false;
  bool hasEarlier = mFirstEvent == 0;
  if (seconds == 0) return hasEarlier;
  for (const RecordedEvent& event : mEvents) {
    for (const RecordedEvent::Picture& picture : event.pictures) {
      if (ReachesTime(picture.time, seconds)) return hasEarlier;
      hasEarlier = true;
    }
  }
  return false;
}

bool Recording::Continues(const std::vector<PacketIdentity>& landing, float seconds) const {
  if (mLanding.empty() || mLanding != landing || mFirstEvent == 0) return false;
  if (!mPolicy.FitsWhatWent()) return false;
  if (seconds == 0) return !mEvents.empty();
  for (const RecordedEvent& event : mEvents) {
    if (!event.pictures.empty()) return ReachesTime(event.pictures.front().time, seconds);
  }
  return false;
}

bool Recording::IsGroupBehind(const std::vector<PacketIdentity>& landing) const {
  if (mLanding.empty() || !mLanding.back().startsAfresh) return false;
  if (mFirstEvent != 0 || mLanding == landing) return false;
  const int64_t first = mLanding.back().pts;
  return first != AV_NOPTS_VALUE &&
         std::all_of(mEvents.begin(), mEvents.end(), [first](const RecordedEvent& event) {
           const bool leads =
               event.kind == RecordedEvent::Kind::kVideo && event.identity.pts < first;
           return !leads && std::all_of(event.pictures.begin(), event.pictures.end(),
                                        [](const auto& p) { return IsIntact(p.frame.get()); });
         });
}

// The event that has just been met, against the one that came next when the group was recorded.
void Recording::FollowRest(RecordedEvent::Kind kind, const PacketIdentity& identity) {
  const auto isMet = [&](const RecordedEvent& event) {
    return event.kind == kind && event.identity.IsSamePacket(identity);
  };
  mPicturesMatched = 0;
  if (mMatched == 0) {
    const auto start = std::find_if(mRest.begin(), mRest.end(), [](const RecordedEvent& event) {
      return event.kind == RecordedEvent::Kind::kVideo;
    });
    if (start != mRest.end() && isMet(*start)) mMatched = start - mRest.begin() + 1;
    return;
  }
  if (mMatched == RestEnd() || !isMet(OfRest(mMatched))) return DropRest();
  ++mMatched;
  mSoundMatched = mSoundMatched || kind == RecordedEvent::Kind::kAudio;
}

bool Recording::MeetsRest(const AVFrame* frame, bool hasSound) {
  if (!AwaitsGroup() || mMatched == 0) return false;
  const std::vector<RecordedEvent::Picture>& pictures = OfRest(EventMet()).pictures;
  // The last pictures of the group before.
  if (pictures.empty()) return false;
  if (mPicturesMatched == pictures.size() ||
      !IsSamePicture(frame, pictures[mPicturesMatched].frame.get())) {
    DropRest();
    return false;
  }
  ++mPicturesMatched;
  // The decoder must have given all that it has of the packet. And the streams may have been read
  // to different places before the start of the group.
  return mPicturesMatched == pictures.size() &&
         OfRest(EventMet()).kind != RecordedEvent::Kind::kEnd && (mSoundMatched || !hasSound);
}

}  // namespace codec
