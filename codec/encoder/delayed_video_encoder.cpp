// SPDX-License-Identifier: MIT
#include "codec/encoder/delayed_video_encoder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/log.h"
#include "codec/encoder/container.h"
#include "codec/encoder/encoder_context.h"
#include "codec/encoder/encoder_forms.h"
#include "codec/encoder/hdr_metadata.h"
#include "codec/encoder/interlacing.h"
#include "codec/encoder/own_options.h"
#include "codec/encoder/stream_colors.h"
#include "codec/ffmpeg/compat_fields.h"
#include "codec/ffmpeg/compat_rotation.h"
#include "codec/utils/numbers.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

constexpr int kThreads = 4;

constexpr std::string_view kNeedsPicture = "libsvtav1";

bool IsRgb(AVPixelFormat format) {
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  constexpr int kColors = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL;
  return description != nullptr && (description->flags & kColors) != 0;
}

int DepthOf(AVPixelFormat format) {
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  return description == nullptr ? 0 : description->comp[0].depth;
}

// Whether every picture stands alone whatever the distance of key pictures. FFV1 can do without,
// and those who keep films ask for it.
bool StandsAlone(const AVCodec* codec) {
  const AVCodecDescriptor* const description = avcodec_descriptor_get(codec->id);
  return description != nullptr && (description->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
}

// Players of one maker take HEVC in MP4 under this name only.
void NameHevc(const AVOutputFormat& format, AVCodecParameters* parameters) {
  constexpr std::array<std::string_view, 4> kMp4 = {"mp4", "mov", "ipod", "3gp"};
  const bool isMp4 = std::find(kMp4.begin(), kMp4.end(), format.name) != kMp4.end();
  if (isMp4 && parameters->codec_id == AV_CODEC_ID_HEVC) {
    parameters->codec_tag = MKTAG('h', 'v', 'c', '1');
  }
}

}  // namespace

int DelayedVideoEncoder::Create(const EncoderOptions& /*defaults*/) {
  if (mTrack.stream != nullptr || !mFile->Exists()) {
    log_error(kTag, "Video stream has existed or AVFormatContext is null.");
    return -1;
  }
  const AVCodec* const codec = avcodec_find_encoder_by_name(mSettings.videoCodec.c_str());
  log_info(kTag, "video codec name: %s", mSettings.videoCodec.c_str());
  if (codec == nullptr || codec->type != AVMEDIA_TYPE_VIDEO) {
    mFile->Remember(AVERROR_ENCODER_NOT_FOUND);
    log_error(kTag, "video codec not found %s", mSettings.videoCodec.c_str());
    return -1;
  }
  mTrack.stream = mFile->AddStream(codec);
  if (mTrack.stream != nullptr) mContext = NewEncoder(codec, *mFile);
  mFrame.reset(av_frame_alloc());
  mTellsTimes = mSettings.TellsVideoEnd() && !HasFixedRate(*mFile->Format());
  if (mContext == nullptr || mFrame == nullptr) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not alloc video stream.");
    return -1;
  }
  Describe(codec);
  if (SetColors(mSettings, mContext.get()) != 0) return -1;
  if (TellFields(mSettings, mContext.get()) != 0) return -1;
  DescribeColors();
  return OpenEncoder(codec) == 0 && OpenConverter() == 0 ? OpenStream() : -1;
}

void DelayedVideoEncoder::Describe(const AVCodec* codec) {
  AVCodecContext* const context = mContext.get();
  context->width = mSettings.width;
  context->height = mSettings.height;
  if (mSettings.sampleAspectNum > 0 && mSettings.sampleAspectDen > 0) {
    context->sample_aspect_ratio = {mSettings.sampleAspectNum, mSettings.sampleAspectDen};
  }
  mClock.Open(mSettings.frameRate, mSettings.stampRate);
  const AVRational rate = NearestFrameRate(codec, mClock.FrameRate());
  context->framerate = rate;
  context->time_base = av_inv_q(rate);
  const bool isFine = mSettings.stampRate > 0 && !HasFixedRate(*mFile->Format());
  mStampBase = isFine ? mClock.StampBase() : context->time_base;
  mFrameTicks = isFine ? mClock.FrameTicks() : 1;
  mStamps.SetFrameTicks(mFrameTicks);
  mTrack.stream->time_base = mStampBase;
  if (mSettings.hasConstantRate || NeedsFrameRate(*mFile->Format())) {
    mTrack.stream->avg_frame_rate = rate;
  }
  context->gop_size = StandsAlone(codec) ? 1 : std::max(TruncateToInt(mSettings.gop), 1);
  mInput.format = static_cast<AVPixelFormat>(mSettings.videoPixelFormat);
  context->pix_fmt = NearestPixelFormat(codec, mInput.format);
  context->thread_count = mSettings.threadCount > 0 ? mSettings.threadCount : kThreads;
  if (mSettings.threadType == "frame") context->thread_type = FF_THREAD_FRAME;
  if (mSettings.threadType == "slice") context->thread_type = FF_THREAD_SLICE;
  log_info(kTag, "pictures are encoded as %s", av_get_pix_fmt_name(context->pix_fmt));
}

// The settings tell of the pictures that come in. What a conversion changes is set right here.
void DelayedVideoEncoder::DescribeColors() {
  AVCodecContext* const context = mContext.get();
  mInput.matrix = context->colorspace;
  mInput.isFullRange = IsFullRangeFormat(mInput.format) || context->color_range == AVCOL_RANGE_JPEG;
  const bool fromRgb = IsRgb(mInput.format);
  const bool toRgb = IsRgb(context->pix_fmt);
  const bool staysFullRange = mInput.isFullRange && !fromRgb;
  if (IsFullRangeFormat(context->pix_fmt) || staysFullRange) {
    context->color_range = AVCOL_RANGE_JPEG;
  } else if (fromRgb) {
    context->color_range = AVCOL_RANGE_MPEG;
  }
  if (toRgb) context->colorspace = AVCOL_SPC_RGB;
  if (fromRgb && !toRgb && context->colorspace != AVCOL_SPC_BT709) {
    context->colorspace = AVCOL_SPC_SMPTE170M;
  }
}

int DelayedVideoEncoder::OpenEncoder(const AVCodec* codec) {
  const EncoderOptions options = OwnVideoOptions(mSettings, codec, DepthOf(mContext->pix_fmt));
  for (const auto& [key, value] : options) {
    log_debug(kTag, "%s parameters: %s = %s", codec->name, key.c_str(), value.c_str());
  }
  const std::string why = SetOwnOptions(mContext.get(), options);
  if (!why.empty()) {
    log_error(kTag, "%s", why.c_str());
    return -1;
  }
  if (OpenContext(mContext.get(), codec, mFile) == 0) return 0;
  log_error(kTag, "%s does not take pictures of %dx%d in %s with these settings", codec->name,
            mContext->width, mContext->height, av_get_pix_fmt_name(mContext->pix_fmt));
  return -1;
}

int DelayedVideoEncoder::OpenConverter() {
  PictureForm to;
  to.format = mContext->pix_fmt;
  to.isFullRange = mContext->color_range == AVCOL_RANGE_JPEG;
  to.matrix = mContext->colorspace;
  if (mConverter.Open(mInput, to, mContext->width, mContext->height) == 0) return 0;
  log_error(kTag, "no way from %s to %s", av_get_pix_fmt_name(mInput.format),
            av_get_pix_fmt_name(to.format));
  return -1;
}

int DelayedVideoEncoder::OpenStream() {
  AVStream* const stream = mTrack.stream;
  if (mPump.Open(mContext.get()) < 0 ||
      avcodec_parameters_from_context(stream->codecpar, mContext.get()) < 0 ||
      ffmpeg::SetRotation(mFile->Format(), stream, mSettings.rotate.c_str()) < 0) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not alloc video stream.");
    return -1;
  }
  if (mFile->Remember(AddHdrMetadata(mSettings, stream)) < 0) {
    log_error(kTag, "Invalid mastering-display or content-light: %s %s",
              mSettings.masteringDisplay.c_str(), mSettings.contentLight.c_str());
    return -1;
  }
  NameHevc(*mFile->Format(), stream->codecpar);
  stream->sample_aspect_ratio = mContext->sample_aspect_ratio;
  return 0;
}

int DelayedVideoEncoder::Encode(const uint8_t* picture, int64_t ptsUs) {
  if (mContext == nullptr) return AVERROR(EINVAL);
  AVFrame* const frame = mFrame.get();
  const ffmpeg::FrameGuard guard(frame);
  int result = mFile->Remember(mConverter.Convert(picture, frame));
  if (result < 0) return result;
  mLast = mClock.Next(ptsUs);
  const bool isCounted =
      mStampBase.num == mContext->time_base.num && mStampBase.den == mContext->time_base.den;
  if (isCounted) mLast.stamp = mLast.number;
  mStamps.Add(mLast.number, mLast.stamp);
  result = WriteKeptUpTo(mLast.stamp);
  if (result < 0) return result;
  mLastTime = static_cast<double>(mLast.stamp) * av_q2d(mStampBase);
  frame->pts = mLast.number;
  frame->sample_aspect_ratio = mContext->sample_aspect_ratio;
  frame->color_range = mContext->color_range;
  frame->colorspace = mContext->colorspace;
  frame->color_primaries = mContext->color_primaries;
  frame->color_trc = mContext->color_trc;
  frame->chroma_location = mContext->chroma_sample_location;
  ffmpeg::SetFields(EncodedFields(mSettings, mContext->codec->name), frame);
  ++mPicturesTaken;
  result = mFile->Remember(mPump.Send(frame));
  if (result < 0) log_error(kTag, "Error encoding video frame");
  return result;
}

int DelayedVideoEncoder::Take(AVPacket* packet) {
  if (mIsDiscarding) return 0;
  const int64_t shown = packet->pts == AV_NOPTS_VALUE ? packet->dts : packet->pts;
  const int64_t decoded = packet->dts == AV_NOPTS_VALUE ? shown : packet->dts;
  const std::optional<int64_t> successor = mStamps.After(shown);
  packet->pts = mStamps.At(shown);
  packet->dts = mStamps.At(decoded);
  packet->duration = mFrameTicks;
  mStamps.ForgetBefore(decoded);
  ++mPacketsWritten;
  if (mTellsTimes && successor.has_value()) packet->duration = *successor - packet->pts;
  const bool waits = mTellsTimes && (!successor.has_value() || !mKept.empty());
  return waits ? KeepBack(packet) : mFile->WritePacket(packet, mStampBase, &mTrack);
}

// A picture lasts up to the next one, which the encoder may not have been given yet. Containers
// take the latest end of a packet for the end of the video.
int DelayedVideoEncoder::KeepBack(AVPacket* packet) {
  ffmpeg::UniquePacket kept(av_packet_alloc());
  if (kept == nullptr) return mFile->Remember(AVERROR(ENOMEM));
  av_packet_move_ref(kept.get(), packet);
  mKept.push_back(std::move(kept));
  return 0;
}

// Only the first one waits for its successor; the others stand after it.
int DelayedVideoEncoder::WriteKeptUpTo(int64_t successor) {
  if (mKept.empty()) return 0;
  AVPacket* const newest = mKept.front().get();
  if (successor > newest->pts) newest->duration = successor - newest->pts;
  int first = 0;
  for (; !mKept.empty(); mKept.pop_front()) {
    const int result = mFile->WritePacket(mKept.front().get(), mStampBase, &mTrack);
    if (first == 0) first = result;
  }
  return first;
}

int DelayedVideoEncoder::Drain() {
  if (mPicturesTaken == 0) return 0;
  const int result = mFile->Remember(mPump.Drain());
  if (result < 0) log_error(kTag, "Error encoding video frame");
  return result;
}

void DelayedVideoEncoder::Finish() { WriteKeptUpTo(mSettings.VideoEnd()); }

// SVT-AV1 hangs when it is freed before it has ended a stream, and a stream without pictures does
// not end either.
void DelayedVideoEncoder::EndUnused() {
  if (mContext == nullptr || mPicturesTaken > 0 || mSettings.videoCodec != kNeedsPicture) return;
  const int size = av_image_get_buffer_size(mInput.format, mContext->width, mContext->height, 1);
  if (size <= 0) return;
  const std::vector<uint8_t> blank(static_cast<size_t>(size));
  const ffmpeg::FrameGuard guard(mFrame.get());
  mIsDiscarding = true;
  if (mConverter.Convert(blank.data(), mFrame.get()) != 0) return;
  mFrame->pts = 0;
  mPump.Send(mFrame.get());
  mPump.Drain();
}

void DelayedVideoEncoder::Close() {
  if (mTrack.stream == nullptr) return;
  EndUnused();
  mFrame.reset();
  mContext.reset();
  mTrack.stream = nullptr;
  log_debug(kTag, "free Videostream");
}

}  // namespace codec
