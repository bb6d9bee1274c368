#include "codec/decoder/recording.h"

#include <algorithm>
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

}  // namespace

void Recording::Begin(std::vector<PacketIdentity> landing) {
  Clear();
  mLanding = std::move(landing);
  mOpen = mPolicy.IsEnabled() && !mLanding.empty();
}

void Recording::BeginBeforeRest() {
  mRest = std::exchange(mEvents, {});
  mPolicy.SetAside();
  mFirstOfRest = std::exchange(mFirstEvent, 0);
  mEventsMet = 0;
  mOpen = true;
}

void Recording::DropRest() {
  mRest.clear();
  mPolicy.ReleaseAside();
}

void Recording::Clear() {
  DropRest();
  GiveUp();
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

void Recording::AddEvent(RecordedEvent::Kind kind, const AVPacket* packet) {
  ++mEventsMet;
  if (!mOpen) return;
  RecordedEvent event;
  event.kind = kind;
  if (packet != nullptr) {
    event.packet.reset(av_packet_clone(packet));
    if (event.packet == nullptr) return GiveUp();
  }
  mEvents.push_back(std::move(event));
  DropOldest(mPolicy.Add(packet == nullptr ? 0 : packet->size));
}

void Recording::AddPicture(const AVFrame* frame, double time) {
  if (!mOpen || mEvents.empty()) return;
  // A time that was only estimated depends on the way here, so it would differ the second time.
  ffmpeg::UniqueFrame kept(frame->best_effort_timestamp == AV_NOPTS_VALUE ? nullptr
                                                                          : av_frame_clone(frame));
  if (kept == nullptr) return GiveUp();
  mEvents.back().pictures.push_back({std::move(kept), time});
  DropOldest(mPolicy.Grow(BufferBytes(frame)));
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

}  // namespace codec
