// SPDX-License-Identifier: MIT
#include "codec/decoder/session_opener.h"

#include <algorithm>
#include <optional>

#include "base/log.h"
#include "codec/decoder/chosen_sound.h"
#include "codec/decoder/decoder_choice.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/field_probe.h"
#include "codec/decoder/key_frame_scan.h"
#include "codec/decoder/length_check.h"
#include "codec/decoder/restart_check.h"
#include "codec/decoder/sound_choice.h"
#include "codec/decoder/stream_facts.h"
#include "codec/decoder/tag_reading.h"
#include "codec/ffmpeg/compat_decoding.h"
#include "codec/ffmpeg/compat_rotation.h"
#include "codec/utils/color_keys.h"
#include "codec/utils/orientation.h"

namespace codec {
namespace {

PictureFacts FactsOf(const AVFormatContext* file, const AVStream* stream, bool laysOverBlack) {
  const AVCodecParameters* const parameters = stream->codecpar;
  // A header does not name the format; most pictures have this one.
  AVPixelFormat format =
      parameters->format < 0 ? AV_PIX_FMT_YUV420P : static_cast<AVPixelFormat>(parameters->format);
  if (laysOverBlack && HasSecondPicture(stream)) format = AV_PIX_FMT_YUVA420P;
  PictureFacts facts;
  facts.width = parameters->width;
  facts.height = parameters->height;
  facts.bytes = std::max(0, av_image_get_buffer_size(format, facts.width, facts.height, 1));
  facts.held = PicturesHeld(parameters);
  facts.hasFields = IsWoven(NamedOrder(parameters->field_order));
  facts.frameRate = stream->avg_frame_rate.den > 0 ? av_q2d(stream->avg_frame_rate) : 0;
  facts.seconds = DurationSeconds(file->duration, stream->duration, stream->time_base);
  return facts;
}

// What to say of video that no decoder is known for; empty if there is none.
std::string UnknownVideo(const AVFormatContext* file) {
  for (unsigned int i = 0; i < file->nb_streams; ++i) {
    const AVStream* const stream = file->streams[i];
    const AVCodecParameters& video = *stream->codecpar;
    if (video.codec_type != AVMEDIA_TYPE_VIDEO || !IsPlayed(stream)) continue;
    if (avcodec_find_decoder(video.codec_id) != nullptr) continue;
    const bool isNamed = video.codec_id != AV_CODEC_ID_NONE || video.codec_tag != 0;
    const std::string name = isNamed ? " (" + CodecName(stream) + ")" : "";
    return "the codec of its video" + name + " is unknown; convert it with a program that plays it";
  }
  return "";
}

}  // namespace

void SessionOpener::ProbeTo(int64_t bytes) {
  mProbedTo = bytes;
  mSession->input.ProbeTo(bytes);
}

int SessionOpener::Open(const std::string& path) {
  DecodeSession& session = *mSession;
  if (mOptions.additions.skipsHoles) session.input.SkipHoles();
  // Probing decodes pictures, too. So pictures without room are refused before that.
  if (session.input.OpenHeader(path) != 0 || !AskForShare(false)) return -1;
  if (session.input.FindStreams() != 0) return -1;
  const bool looksFurther = mOptions.additions.looksFurther;
  if (looksFurther && session.input.LacksPictureForm()) {
    log_info(kDecoderTag, "%s: looking further for its pictures", path.c_str());
    if (session.input.FindStreamsFurther() != 0) return -1;
  }
  if (!AskForShare(true) || OpenVideo() != 0) return -1;
  if (looksFurther && session.video == nullptr) {
    session.input.Refuse(UnknownVideo(session.input.Context()));
  }
  OpenAudio();
  if (mOptions.additions.readsTags) {
    mInfo->tags = ReadClipTags(session.input.Context(), session.VideoIndex(), session.AudioIndex());
  }
  // Sound alone has a length too: a caller that asks for the video of such a file is then told of
  // the missing video rather than of a range that does not fit.
  if (session.video == nullptr) SetDuration(session.audio.get());
  if (CheckRestarts(path) != 0) return -1;
  if (mProbeNeeded.has_value()) return 0;
  session.times.Open(session.video.get(), session.audio.get(), mFrameRate);
  if (session.video != nullptr) {
    const AVRational timeBase = session.video->Stream()->time_base;
    log_debug(kDecoderTag, "video time_base(%d/%d)", timeBase.num, timeBase.den);
  }
  ScanKeyFrames();
  if (session.first_video_pts_ == AV_NOPTS_VALUE) CheckVariableRate();
  log_debug(kDecoderTag, "first video pts:%lld, first audio pts:%lld",
            static_cast<long long>(session.first_video_pts_),
            static_cast<long long>(mFirstAudioTicks));
  if (mOptions.additions.scansLength && !mScanned.has_value()) CheckLength();
  if (session.video != nullptr && session.first_video_pts_ != AV_NOPTS_VALUE) {
    session.times.SetFirstVideo(session.video->Seconds(session.first_video_pts_));
  }
  mInfo->duration = static_cast<float>(session.duration);
  return 0;
}

bool SessionOpener::AskForShare(bool isProbed) {
  if (!mOptions.shareFor) return true;
  AVFormatContext* const file = mSession->input.Context();
  const int index = av_find_best_stream(file, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) return true;
  const AVStream* const stream = file->streams[index];
  // Headers without a size are usual; to ask FFmpeg for its bytes would log an error.
  if (stream->codecpar->width <= 0 || stream->codecpar->height <= 0) return true;
  PictureFacts facts = FactsOf(file, stream, mOptions.additions.laysOverBlack);
  facts.isProbed = isProbed;
  const std::optional<DecoderShare> share = mOptions.shareFor(facts);
  if (share) mShare = *share;
  return share.has_value();
}

int SessionOpener::OpenVideo() {
  DecodeSession& session = *mSession;
  const DecoderAdditions& additions = mOptions.additions;
  session.video = StreamDecoder::Open(session.input, AVMEDIA_TYPE_VIDEO, mShare.threads,
                                      additions.laysOverBlack);
  if (session.video == nullptr) return 0;
  AVCodecContext* const context = session.video->Context();
  if (additions.keepsLoopFilter) session.video->KeepLoopFilter();
  if (additions.adaptsChanges) session.pictures.AdaptChanges();
  if (additions.laysOverBlack) {
    session.pictures.LayOverBlack();
    context->pix_fmt = FormatWithSecondPicture(context);
  }
  if (context->pix_fmt == AV_PIX_FMT_NONE) {
    log_error(kDecoderTag, "Could not find video pixel format");
    return -1;
  }
  const auto open = additions.cutsToEvenSize ? &PictureCopy::OpenEven : &PictureCopy::Open;
  if ((session.pictures.*open)(context->pix_fmt, context->width, context->height) != 0) {
    // No buffer can be made for pictures without a size. The sound may still serve.
    log_error(kDecoderTag, "Could not use pictures of %dx%d", context->width, context->height);
    session.video.reset();
    return 0;
  }
  DescribeVideo();
  return 0;
}

void SessionOpener::DescribeVideo() {
  DecodeSession& session = *mSession;
  const AVCodecContext* const context = session.video->Context();
  const AVStream* const stream = session.video->Stream();
  mInfo->has_video = 1;
  mInfo->width = session.pictures.Width();
  mInfo->height = session.pictures.Height();
  AVFormatContext* const file = session.input.Context();
  const AVRational shape =
      mOptions.additions.asksContainerForShape
          ? av_guess_sample_aspect_ratio(file, file->streams[stream->index], nullptr)
          : context->sample_aspect_ratio;
  mInfo->sample_aspect_num = shape.num;
  mInfo->sample_aspect_den = shape.den;
  mInfo->rotation = RotationDegrees(ffmpeg::RotateText(session.input.Context(), stream));
  mInfo->orientation =
      ffmpeg::MatrixOrientation(stream).value_or(OrientationOfTurn(mInfo->rotation));
  if (mInfo->orientation == 0) mInfo->orientation = OrientationOfTurn(mInfo->rotation);
  mFrameRate = FrameRate(stream->avg_frame_rate, ffmpeg::RealBaseRate(stream),
                         ffmpeg::CodecTimeBase(stream), ffmpeg::TicksPerFrame(context->codec_id))
                   .value_or(0);
  const AVRational average = stream->avg_frame_rate;
  if (mOptions.additions.tellsLowRates && mFrameRate <= 0 && average.den > 0) {
    mFrameRate = av_q2d(average);
  }
  mInfo->has_constant_rate = IsConstantRate(average, ffmpeg::RealBaseRate(stream)) ? 1 : 0;
  mInfo->frame_rate = static_cast<float>(mFrameRate);
  SetDuration(session.video.get());
  mInfo->pixel_format = FoldedPixelFormat(context->pix_fmt);
  const char* const name = av_get_pix_fmt_name(context->pix_fmt);
  mInfo->pixel_format_name = name == nullptr ? "" : name;
  mInfo->colors = ColorsOf(*context);
  DescribeProfile();
  log_debug(kDecoderTag, "fps:%f duration:%f", mFrameRate, session.duration);
}

void SessionOpener::DescribeProfile() {
  const AVCodecContext* const context = mSession->video->Context();
  log_debug(kDecoderTag, "SetVideoProfileAndLevel.profile: %d, level: %d", context->profile,
            context->level);
  mInfo->profile = ProfileCode(context->profile);
  mInfo->level = context->level;
  mInfo->video_bit_rate = static_cast<int32_t>(context->bit_rate);
}

void SessionOpener::OpenAudio() {
  DecodeSession& session = *mSession;
  if (mOptions.additions.expectsSilence && FirstSound(session.input.Context()) < 0) return;
  if (mOptions.additions.choosesSound) {
    session.audio = OpenChosenSound(session.input, session.VideoIndex(), &session.sound,
                                    &session.passedOverSound);
  } else {
    session.audio = StreamDecoder::Open(session.input, AVMEDIA_TYPE_AUDIO, 1);
    if (session.audio != nullptr && session.sound.Open(session.audio->Context()) != 0) {
      session.audio.reset();
    }
  }
  if (session.audio != nullptr) DescribeAudio();
}

void SessionOpener::DescribeAudio() {
  const AVCodecContext* const context = mSession->audio->Context();
  mInfo->has_audio = 1;
  mInfo->sample_rate = context->sample_rate;
  mInfo->audio_bit_rate = static_cast<int32_t>(context->bit_rate);
  mInfo->sample_format = SampleFormatCode(mSession->sound.DeliveredFormat());
}

void SessionOpener::SetDuration(const StreamDecoder* decoder) {
  DecodeSession& session = *mSession;
  const int64_t whole = session.input.Context()->duration;
  session.duration = decoder == nullptr ? DurationSeconds(whole, AV_NOPTS_VALUE, {0, 1})
                                        : DurationSeconds(whole, decoder->Stream()->duration,
                                                          decoder->Stream()->time_base);
}

int SessionOpener::CheckRestarts(const std::string& path) {
  RestartCheck check(mSession, mOptions.additions, mProbedTo);
  if (check.Run(path) != 0) return -1;
  mScanned = check.Scanned();
  mProbeNeeded = check.ProbeNeeded();
  return 0;
}

void SessionOpener::ScanKeyFrames() {
  DecodeSession& session = *mSession;
  KeyFrameScan scan(session.VideoIndex());
  // Without video there is nothing to find, and the scan would read the whole file.
  if (mOptions.additions.skipsKeyScan) scan.EndAtFirst();
  if (session.video != nullptr && mPacket != nullptr) {
    scan.Run(&session.input, mPacket.get(), &session.first_video_pts_);
    session.missedStart.SetFirst(scan.FirstPosition());
  }
  if (session.video != nullptr) session.video->SkipLoopFilter();
  session.ReturnToStart();
  if (mOptions.additions.skipsKeyScan) return;
  if (scan.PacketsBetween() == 0) {
    log_warn(kDecoderTag, "not find keyint, not support seek to no key frame");
  } else {
    session.keyint_ =
        KeyIntervalTicks(scan.PacketsBetween() + 1, mFrameRate, session.video->Stream()->time_base)
            .value_or(0);
  }
  log_debug(kDecoderTag, "keyint_:%d", session.keyint_);
}

void SessionOpener::CheckVariableRate() {
  DecodeSession& session = *mSession;
  if (session.video != nullptr && mPacket != nullptr) {
    VariableRateCheck check(session.VideoIndex());
    check.Run(&session.input, mPacket.get(), &session.first_video_pts_);
    if (session.first_video_pts_ != AV_NOPTS_VALUE && session.audio != nullptr) {
      mFirstAudioTicks = static_cast<int64_t>(session.video->Seconds(session.first_video_pts_) *
                                              session.audio->TicksPerSecond());
    }
  }
  session.input.SeekBackward(-1, 0);
  session.FlushDecoders();
}

void SessionOpener::CheckLength() {
  DecodeSession& session = *mSession;
  if (session.video == nullptr || mPacket == nullptr) return;
  LengthCheck check(&session, mPacket.get());
  check.Run();
  mScanned = check.Scanned();
}

}  // namespace codec
