#include "codec/decoder/frame_source.h"

#include <cmath>
#include <limits>
#include <utility>

#include "codec/decoder/fresh_start.h"

namespace codec {

FrameSource::FrameSource(DecodeSession* session, int64_t replayBudget)
    : mSession(session), mRecording(replayBudget) {}

void FrameSource::BeginWalk(float seconds) {
  mReplaying = false;
  mWalking = true;
  mVideoDelivered = false;
  mAudioDelivered = false;
  mRecording.DropRest();
  if (mLastNeededEvent != kNotKnown) mRecording.Truncate(mLastNeededEvent);
  mLastNeededEvent = kNotKnown;
  if (!mRecording.IsEnabled() || mSession->video == nullptr) return;
  std::vector<PacketIdentity> landing = FindLanding();
  if (mRecording.Serves(landing, seconds)) {
    BeginReplay(mRecording.FirstEvent(), false);
    mRecording.Close();
  } else if (mRecording.Continues(landing, seconds)) {
    mRecording.BeginBeforeRest();
  } else if (mRecording.IsGroupBehind(landing)) {
    mRecording.BeginBeforeGroup(std::move(landing));
  } else {
    mRecording.Begin(std::move(landing));
  }
}

void FrameSource::BeginReplay(int64_t event, bool ofRest) {
  mReplaying = true;
  mReplaysRest = ofRest;
  mFirstReplayed = event;
  mNextEvent = event;
  mNextPicture = 0;
  mFirstUnread = ofRest ? event : 0;
  if (ofRest) mRecording.UseRest();
}

// From a picture that has just been decoded on. The event that it came of has been read.
void FrameSource::BeginReplayOfGroup() {
  BeginReplay(mRecording.EventMet(), true);
  mNextPicture = mRecording.PicturesMet();
  mFirstUnread = ++mNextEvent;
}

void FrameSource::EndWalk() { mWalking = false; }

void FrameSource::Leave() {
  if (mReplaying) CatchUp();
  Forget();
}

void FrameSource::Forget() {
  mReplaying = false;
  mLastNeededEvent = kNotKnown;
  mRecording.Clear();
}

// Looks at the packets that come next and puts them back. Empty when no picture is near.
std::vector<PacketIdentity> FrameSource::FindLanding() {
  constexpr size_t kMostPackets = 256;
  std::vector<PacketIdentity> landing;
  std::vector<ffmpeg::UniquePacket> packets;
  bool found = false;
  while (!found && packets.size() < kMostPackets) {
    ffmpeg::UniquePacket packet(av_packet_alloc());
    if (packet == nullptr || !mSession->input.Read(packet.get())) break;
    found = mSession->video->Owns(packet.get());
    const bool isPassedOver = found && mSession->video->PassesOver(packet.get());
    landing.push_back(PacketIdentity::Of(packet.get(), isPassedOver));
    landing.back().startsAfresh =
        found && !isPassedOver && StartsAfresh(*mSession->video->Stream()->codecpar, *packet);
    packets.push_back(std::move(packet));
  }
  mSession->input.PutBack(std::move(packets));
  if (!found) landing.clear();
  return landing;
}

FrameSource::Next FrameSource::NextFrame(AVFrame* frame) {
  StreamDecoder* const audio = mSession->audio.get();
  bool ended = false;
  for (;;) {
    const Step video = PictureStep(frame, ended);
    if (video == Step::kFrame) {
      NoteDelivered(Next::kVideo);
      return Next::kVideo;
    }
    const bool replayedAll = mReplaying && video == Step::kDone;
    if (replayedAll && audio != nullptr) {
      audio->Send(nullptr);
      ended = true;
    }
    const Step sound = Receive(audio, frame, ended);
    if (sound == Step::kFrame) {
      NoteDelivered(Next::kAudio);
      return Next::kAudio;
    }
    if (video == Step::kDone && sound == Step::kDone) return Next::kEnd;
    if (!replayedAll) ended = !Advance();
  }
}

int FrameSource::NextPicture(AVFrame* frame) {
  bool ended = false;
  for (;;) {
    const Step step = PictureStep(frame, ended);
    if (step == Step::kFrame) return 0;
    if (step == Step::kDone) return AVERROR_EOF;
    ended = !Advance();
  }
}

FrameSource::Step FrameSource::PictureStep(AVFrame* frame, bool ended) {
  if (mReplaying) return ReplayPictureStep(frame);
  const Step step = Receive(mSession->video.get(), frame, ended);
  if (step != Step::kFrame) return step;
  mRecording.AddPicture(frame, mSession->times.VideoTime(frame));
  if (mRecording.MeetsRest(frame, mSession->audio != nullptr)) BeginReplayOfGroup();
  return step;
}

// One packet further, be it read or replayed. False at the end of input.
bool FrameSource::Advance() {
  if (!mReplaying && mRecording.IsAtRest()) {
    BeginReplay(mRecording.EventsMet(), true);
  }
  if (!mReplaying) return Feed();
  if (!ReplayNextEvent()) CatchUp();
  return true;
}

FrameSource::Step FrameSource::Receive(StreamDecoder* decoder, AVFrame* frame, bool ended) {
  if (decoder == nullptr) return Step::kDone;
  const int result = decoder->Receive(frame);
  if (result >= 0) return Step::kFrame;
  if (result == AVERROR_EOF) return Step::kDone;
  // One damaged packet is not the end of the stream, nor of its group, which would be left to be
  // read as one step; but a decoder that still has nothing to give once it has been told to drain
  // never will.
  if (result != AVERROR(EAGAIN)) LogDecodeError(decoder->Context()->codec_type, result);
  return ended ? Step::kDone : Step::kHungry;
}

// Hands the next packet to its decoder; a walk leaves the sound out. False at the end of input,
// with the decoders draining; telling them again is harmless.
bool FrameSource::Feed() {
  AVPacket* const packet = mSession->packet.get();
  StreamDecoder* const video = mSession->video.get();
  StreamDecoder* const audio = mSession->audio.get();
  if (!mSession->input.Read(packet)) {
    mRecording.AddEnd();
    if (video != nullptr) video->Send(nullptr);
    if (audio != nullptr && !mWalking) audio->Send(nullptr);
    return false;
  }
  const ffmpeg::PacketGuard guard(packet);
  if (video != nullptr && video->Owns(packet)) {
    SendPicture(packet);
  } else if (audio != nullptr && audio->Owns(packet)) {
    SendSound(packet);
  }
  return true;
}

void FrameSource::SendPicture(AVPacket* packet) {
  StreamDecoder* const video = mSession->video.get();
  mRecording.AddVideoPacket(packet);
  const bool awaited = video->IsAwaitingKey();
  video->Send(packet);
  if (awaited && !video->IsAwaitingKey()) mSession->times.RestartVideo(packet);
}

void FrameSource::SendSound(AVPacket* packet) {
  StreamDecoder* const audio = mSession->audio.get();
  mRecording.AddAudioPacket(packet);
  if (mWalking) return;
  if (std::isfinite(mSession->soundFrom) && !audio->IsFed()) mSession->times.RestartAudio(packet);
  audio->Send(packet);
}

// The next picture of the event that was replayed last; kDone when that was the end of the input.
FrameSource::Step FrameSource::ReplayPictureStep(AVFrame* frame) {
  if (mNextEvent == mFirstReplayed) return Step::kHungry;
  const RecordedEvent& event = Replayed(mNextEvent - 1);
  // The frame may still hold a picture that there was no memory to record.
  av_frame_unref(frame);
  if (mNextPicture < event.pictures.size() &&
      mSession->input.Failure().Note(
          av_frame_ref(frame, event.pictures[mNextPicture].frame.get())) >= 0) {
    if (mReplaysRest) mRecording.AddPicture(frame, event.pictures[mNextPicture].time);
    ++mNextPicture;
    ++mPicturesReplayed;
    return Step::kFrame;
  }
  return event.kind == RecordedEvent::Kind::kEnd ? Step::kDone : Step::kHungry;
}

const RecordedEvent& FrameSource::Replayed(int64_t event) const {
  return mReplaysRest ? mRecording.OfRest(event) : mRecording.At(event);
}

// Reads one packet, so to say. False at the end of the recording.
bool FrameSource::ReplayNextEvent() {
  if (mNextEvent == (mReplaysRest ? mRecording.RestEnd() : mRecording.EventsEnd())) return false;
  const RecordedEvent& event = Replayed(mNextEvent);
  if (mReplaysRest) mRecording.AddAgain(event);
  ++mNextEvent;
  mNextPicture = 0;
  // On the way to its target a walk leaves the sound out.
  if (event.kind == RecordedEvent::Kind::kAudio && !mWalking) {
    mSession->audio->Send(event.packet.get());
  }
  return true;
}

// Goes on behind the recording: the input is still where replay began, at the landing or behind
// what was read anew, so what was replayed is read and decoded over, to bring the video decoder to
// where it would be.
void FrameSource::CatchUp() {
  mReplaying = false;
  AVPacket* const packet = mSession->packet.get();
  AVFrame* const frame = mSession->spare.get();
  StreamDecoder* const video = mSession->video.get();
  for (int64_t event = mFirstUnread; event < mNextEvent;) {
    const bool isEnd = !mSession->input.Read(packet);
    const ffmpeg::PacketGuard guard(packet);
    const bool isVideo = isEnd || video->Owns(packet);
    const bool isAudio = !isVideo && mSession->audio != nullptr && mSession->audio->Owns(packet);
    if (isVideo || isAudio) ++event;
    if (!isVideo) continue;
    video->Send(isEnd ? nullptr : packet);
    const int64_t taken = event < mNextEvent ? std::numeric_limits<int64_t>::max()
                                             : static_cast<int64_t>(mNextPicture);
    for (int64_t n = 0; n < taken && video->Receive(frame) >= 0; ++n) av_frame_unref(frame);
    if (isEnd) break;
  }
}

void FrameSource::NoteDelivered(Next next) {
  if (mVideoDelivered && mAudioDelivered) return;
  if (next == Next::kVideo) mVideoDelivered = true;
  if (next == Next::kAudio || mSession->audio == nullptr) mAudioDelivered = true;
  if (!mVideoDelivered || !mAudioDelivered) return;
  if (mReplaying && !mReplaysRest) mLastNeededEvent = mNextEvent - 1;
  mRecording.CloseAtDelivery();
}

}  // namespace codec
