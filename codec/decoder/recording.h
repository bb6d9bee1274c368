// What a walk through the input met, in decode order: enough to walk the same way again without
// reading or decoding pictures.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "codec/decoder/replay_policy.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Tells packets of one input apart.
struct PacketIdentity {
  int stream;
  int size;
  int64_t pts;
  int64_t dts;
  int64_t position;
  bool isPassedOver;  // from the start of the input the decoder takes what it passes over elsewhere
  bool startsAfresh = false;  // see StartsAfresh; told of the last packet of a landing

  static PacketIdentity Of(const AVPacket* packet, bool isPassedOver) {
    return {packet->stream_index, packet->size, packet->pts,
            packet->dts,          packet->pos,  isPassedOver};
  }
  // The stamps of decoding may be made up, and begin anew at each landing.
  bool IsSamePacket(const PacketIdentity& other) const {
    return stream == other.stream && size == other.size && pts == other.pts &&
           position == other.position;
  }
  friend bool operator==(const PacketIdentity& a, const PacketIdentity& b) {
    return a.stream == b.stream && a.size == b.size && a.pts == b.pts && a.dts == b.dts &&
           a.position == b.position && a.isPassedOver == b.isPassedOver;
  }
};

// One packet and what came of it.
struct RecordedEvent {
  enum class Kind {
    kVideo,  // a packet of the video stream; only its pictures are kept
    kAudio,  // a packet of the audio stream, kept to be decoded again
    kEnd,    // the end of the input: both decoders drain
  };

  // A picture by reference, and its time in seconds.
  struct Picture {
    ffmpeg::UniqueFrame frame;
    double time;
  };

  Kind kind = Kind::kVideo;
  PacketIdentity identity{};
  ffmpeg::UniquePacket packet;
  std::vector<Picture> pictures;  // that the decoder gave out before the next packet was sent
};

// A recording grows at its end while its walk goes on, and loses its beginning where the budget
// demands. What it has lost has to be walked again one day; once this fits beside the rest of it,
// the rest is kept meanwhile. Events keep the number that they had from the landing on.
//
// Where a step begins behind the start of a group of pictures, the next one walks through the group
// before and wants what lies between. If the group leans on nothing before it, its recording is
// kept as a rest too. It serves once the new walk has met the same packets from the group's start
// on, and then the same picture out of the same packet: both decoders are behind by as much.
class Recording {
 public:
  explicit Recording(int64_t budget) : mPolicy(budget) {}

  bool IsEnabled() const { return mPolicy.IsEnabled(); }

  // Forgets everything and begins at a landing: the packets that the demuxer gave first, up to the
  // first one of the video stream.
  void Begin(std::vector<PacketIdentity> landing);
  // The same, and keeps what there is as the rest.
  void BeginBeforeGroup(std::vector<PacketIdentity> landing);
  // The same at the landing that it has, and keeps the rest.
  void BeginBeforeRest();
  void DropRest();
  void Clear();

  // Nothing more is added.
  void Close() { mOpen = false; }
  // The same while the decoders may have more of the last event.
  void CloseAtDelivery();

  void AddVideoPacket(const AVPacket* packet);
  void AddAudioPacket(const AVPacket* packet);
  void AddEnd();
  // A picture that came of the last event.
  void AddPicture(const AVFrame* frame, double time);
  // An event of the rest that is met once more; its pictures are added one by one.
  void AddAgain(const RecordedEvent& event) {
    AddEvent(event.kind, event.identity, event.packet.get());
  }
  // Gives up what comes behind this event.
  void Truncate(int64_t event);

  // Whether a walk from this landing to the first picture that reaches a time can be answered: the
  // picture is there, and one before it to prove that it is the first. Time 0 stands for the
  // landing itself.
  bool Serves(const std::vector<PacketIdentity>& landing, float seconds) const;
  // Whether such a walk would come to what is recorded behind its first picture, and there is room
  // for both. Where there is not, what is kept for this walk alone would be lost to the next ones.
  bool Continues(const std::vector<PacketIdentity>& landing, float seconds) const;
  // Whether a walk from this landing, if it is further back, may be answered from it, see above.
  bool IsGroupBehind(const std::vector<PacketIdentity>& landing) const;

  int64_t FirstEvent() const { return mFirstEvent; }
  int64_t EventsEnd() const { return mFirstEvent + static_cast<int64_t>(mEvents.size()); }
  const RecordedEvent& At(int64_t event) const {
    return mEvents[static_cast<size_t>(event - mFirstEvent)];
  }

  // Events met since the landing, also those not kept.
  int64_t EventsMet() const { return mEventsMet; }
  // Whether the next event to come is the first one of the rest.
  bool IsAtRest() const { return !mRest.empty() && !mRestIsGroup && mEventsMet == mFirstOfRest; }
  // Whether this picture, which came of the last event, is where a group before which the walk
  // began serves from.
  bool MeetsRest(const AVFrame* frame, bool hasSound);
  // The event of the rest that the last one was, and how many of its pictures have come.
  int64_t EventMet() const { return mMatched - 1; }
  size_t PicturesMet() const { return mPicturesMatched; }
  // The rest is being replayed: it stays as it is.
  void UseRest() { mRestIsUsed = true; }
  int64_t RestEnd() const { return mFirstOfRest + static_cast<int64_t>(mRest.size()); }
  const RecordedEvent& OfRest(int64_t event) const {
    return mRest[static_cast<size_t>(event - mFirstOfRest)];
  }

 private:
  void AddEvent(RecordedEvent::Kind kind, const PacketIdentity& identity, const AVPacket* packet);
  void MakeRoom(int64_t bytes);
  void FollowRest(RecordedEvent::Kind kind, const PacketIdentity& identity);
  void Open(std::vector<PacketIdentity> landing);
  void SetRestAside(bool isGroup);
  // Whether the walk may still come to a group.
  bool AwaitsGroup() const { return mRestIsGroup && !mRestIsUsed && !mRest.empty(); }
  void DropOldest(size_t count);
  void GiveUp();

  ReplayPolicy mPolicy;
  std::vector<PacketIdentity> mLanding;
  std::deque<RecordedEvent> mEvents;
  int64_t mFirstEvent = 0;  // number of the front event
  int64_t mEventsMet = 0;
  // False when nothing may be added: no budget, no landing, closed, or a picture without a time.
  bool mOpen = false;

  std::deque<RecordedEvent> mRest;
  int64_t mFirstOfRest = 0;
  bool mRestIsGroup = false;  // of a later landing
  bool mRestIsUsed = false;
  // Of a group that the walk comes to:
  int64_t mMatched = 0;         // events met since its start; 0 before
  size_t mPicturesMatched = 0;  // of the last one
  bool mSoundMatched = false;
};

}  // namespace codec
