// SPDX-License-Identifier: MIT
#include "codec/encoder/video_encoder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string_view>

#include "base/log.h"
#include "codec/encoder/container.h"
#include "codec/encoder/encoder_context.h"
#include "codec/encoder/interlacing.h"
#include "codec/encoder/stream_colors.h"
#include "codec/ffmpeg/compat_encoding.h"
#include "codec/ffmpeg/compat_fields.h"
#include "codec/ffmpeg/compat_pictures.h"
#include "codec/ffmpeg/compat_rotation.h"
#include "codec/ffmpeg/error_text.h"
#include "codec/utils/numbers.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

constexpr std::array<std::string_view, 3> kForeignCodecs = {"vomx", "vomx2", "h264_mediacodec"};

// Copies a picture before it returns. Others may look at it later.
constexpr std::string_view kCopyingCodec = "libx264";

const char* SendErrorText(int error) {
  switch (error) {
    case AVERROR(EAGAIN):
      return "AVERROR(EAGAIN)";
    case AVERROR_EOF:
      return "AVERROR_EOF";
    case AVERROR(EINVAL):
      return "AVERROR(EINVAL)";
    case AVERROR(ENOMEM):
      return "AVERROR(ENOMEM";
    default:
      return "legitimate decoding errors";
  }
}

}  // namespace

int VideoEncoder::Create(const EncoderOptions& defaults) {
  if (Exists() || !mFile->Exists()) {
    log_error(kTag, "Video stream has existed or AVFormatContext is null.");
    return -1;
  }
  const std::string& name = mSettings.videoCodec;
  if (std::find(kForeignCodecs.begin(), kForeignCodecs.end(), name) != kForeignCodecs.end()) {
    log_error(kTag, "this platform not support %s", name.c_str());
    return -1;
  }
  const AVCodec* const codec = avcodec_find_encoder_by_name(name.c_str());
  log_info(kTag, "video codec name: %s", name.c_str());
  if (codec == nullptr) {
    mFile->Remember(AVERROR_ENCODER_NOT_FOUND);
    log_error(kTag, "video codec not found %s", name.c_str());
    return -1;
  }
  mTrack.stream = mFile->AddStream(codec);
  if (mTrack.stream != nullptr) mContext = NewEncoder(codec, *mFile);
  mPacket.reset(av_packet_alloc());
  const bool keepsBack = mSettings.TellsVideoEnd() && !HasFixedRate(*mFile->Format());
  if (keepsBack) mKept.reset(av_packet_alloc());
  if (mTrack.stream == nullptr || mContext == nullptr || mPacket == nullptr ||
      (keepsBack && mKept == nullptr)) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not alloc video stream.");
    return -1;
  }

  Describe(codec);
  if (SetColors(mSettings, mContext.get()) != 0) return -1;
  if (TellFields(mSettings, mContext.get()) != 0) return -1;
  const int applied = mFile->Remember(ApplyOptionsTo(mContext.get(), mSettings, defaults, name));
  ChooseThreads();
  if (applied < 0 || OpenContext(mContext.get(), codec, mFile) < 0) {
    log_error(kTag, "Could not open video codec");
    return -1;
  }
  log_debug(kTag, "fmt->name:%s", mFile->Format()->name);
  if (PreparePicture() != 0) return -1;
  mSendReceive = IsHardwareCodec(name);
  mCopies = name == kCopyingCodec;
  log_debug(kTag, "video stream::time_base:%d/%d, cc::time_base:%d/%d",
            mTrack.stream->time_base.num, mTrack.stream->time_base.den, mContext->time_base.num,
            mContext->time_base.den);
  return 0;
}

void VideoEncoder::Describe(const AVCodec* codec) {
  AVCodecContext* const context = mContext.get();
  AVStream* const stream = mTrack.stream;
  if (mSettings.videoBitRate > 0) context->bit_rate = mSettings.videoBitRate;
  context->width = mSettings.width;
  context->height = mSettings.height;
  if (mSettings.sampleAspectNum != 0 || mSettings.sampleAspectDen != 0) {
    context->sample_aspect_ratio = {mSettings.sampleAspectNum, mSettings.sampleAspectDen};
  }
  mClock.Open(mSettings.frameRate, HasFixedRate(*mFile->Format()) ? 0 : mSettings.stampRate);
  context->time_base = mClock.FrameBase();
  stream->time_base = mClock.StampBase();
  if (mSettings.hasConstantRate || NeedsFrameRate(*mFile->Format())) {
    stream->avg_frame_rate = mClock.FrameRate();
  }
  if (IsMobileCodec(codec->name)) context->framerate = av_inv_q(context->time_base);
  log_debug(kTag, "video codec frameRate:%f ,den:%d, num:%d", mSettings.frameRate,
            context->time_base.den, context->time_base.num);
  context->gop_size = TruncateToInt(mSettings.gop);
  context->pix_fmt = static_cast<AVPixelFormat>(mSettings.videoPixelFormat);
}

void VideoEncoder::ChooseThreads() {
  if (mSettings.threadCount > 0) {
    mContext->thread_count = mSettings.threadCount;
    log_debug(kTag, "thread_coount:%d", mSettings.threadCount);
  }
  if (mSettings.threadType == "frame") {
    mContext->thread_type = FF_THREAD_FRAME;
    log_debug(kTag, "thread_type: frame");
  } else if (mSettings.threadType == "slice") {
    mContext->thread_type = FF_THREAD_SLICE;
    log_debug(kTag, "thread_type: slice");
  }
}

int VideoEncoder::PreparePicture() {
  mPicture.reset(av_frame_alloc());
  if (mPicture == nullptr) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "av_frame_alloc error.");
    log_error(kTag, "alloc_picture error");
    return -1;
  }
  mPicture->format = mContext->pix_fmt;
  mPicture->width = mContext->width;
  mPicture->height = mContext->height;
  ffmpeg::SetFields(EncodedFields(mSettings, mContext->codec->name), mPicture.get());

  // Only now are the encoder's own parameters known, and nothing may replace them later: the
  // display matrix lives beside them on newer releases.
  if (avcodec_parameters_from_context(mTrack.stream->codecpar, mContext.get()) < 0 ||
      ffmpeg::SetRotation(mFile->Format(), mTrack.stream, mSettings.rotate.c_str()) < 0) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not alloc video stream.");
    return -1;
  }
  mTrack.stream->sample_aspect_ratio = mContext->sample_aspect_ratio;
  return 0;
}

int VideoEncoder::Encode(const uint8_t* picture, int64_t ptsUs) {
  if (mPicture == nullptr) return AVERROR(EINVAL);
  const PictureClock::Place place = mClock.Next(ptsUs);
  mPicture->pts = place.number;
  mStamp = place.stamp;
  const int filled = ffmpeg::LayOutPicture(mPicture->data, mPicture->linesize, picture,
                                           mContext->pix_fmt, mContext->width, mContext->height, 1);
  if (mFile->Remember(filled) < 0) return filled;
  ++mPicturesTaken;
  std::optional<ffmpeg::LentBytes> lent;
  if (mCopies) lent.emplace(mPicture.get(), picture, filled);
  const int result = mSendReceive ? EncodeSendReceive(mPicture.get()) : EncodeInOneCall();
  if (result == 0) mHasSucceeded = true;
  return result;
}

int VideoEncoder::EncodeInOneCall() {
  AVPacket* const packet = mPacket.get();
  const ffmpeg::PacketGuard guard(packet);
  int gotPacket = 0;
  const int result = ffmpeg::EncodeOne(mContext.get(), packet, mPicture.get(), &gotPacket);
  if (mFile->Remember(result) < 0) {
    log_error(kTag, "Error encoding video frame");
    return result;
  }
  WriteLateHeader();
  if (gotPacket == 0) {
    log_warn(kTag, "video pkt.size = 0");
    NoteIgnored();
    return 0;
  }
  // Without reordering the packet is that of the picture just given.
  return Write(packet, mStamp);
}

// The encoder counts frames, and the file has stamps of its own.
int VideoEncoder::Write(AVPacket* packet, int64_t stamp) {
  packet->pts = stamp;
  packet->dts = stamp;
  packet->duration = mClock.FrameTicks();
  return mKept == nullptr ? mFile->WritePacket(packet, mClock.StampBase(), &mTrack)
                          : KeepBack(packet);
}

// A picture lasts up to the next one, so its packet waits for the stamp of the next one. Containers
// take the latest end of a packet for the end of the video.
// To those who ask for the time of the last packet it counts as written, so that the order of
// pictures and sound stays the same.
int VideoEncoder::KeepBack(AVPacket* packet) {
  const bool hasKept = mKept->size > 0;
  if (hasKept && packet->pts > mKept->pts) mKept->duration = packet->pts - mKept->pts;
  const int result = WriteKept();
  av_packet_move_ref(mKept.get(), packet);
  mTrack.lastTime = static_cast<double>(mKept->pts) * av_q2d(mClock.StampBase());
  return result;
}

int VideoEncoder::WriteKept() {
  if (mKept->size == 0) return 0;
  const ffmpeg::PacketGuard guard(mKept.get());
  return mFile->WritePacket(mKept.get(), mClock.StampBase(), &mTrack);
}

void VideoEncoder::Finish() {
  if (mKept == nullptr || mKept->size == 0) return;
  const int64_t end = mSettings.VideoEnd();
  if (end > mKept->pts) mKept->duration = end - mKept->pts;
  WriteKept();
}

int VideoEncoder::EncodeSendReceive(const AVFrame* frame) {
  if (frame != nullptr) mStamps.push_back(mStamp);
  int result = avcodec_send_frame(mContext.get(), frame);
  if (result < 0) {
    if (result != AVERROR_EOF) mFile->Remember(result);
    log_warn(kTag, "avcodec_send_frame fail, error:%s", SendErrorText(result));
    return result;
  }
  AVPacket* const packet = mPacket.get();
  do {
    result = avcodec_receive_packet(mContext.get(), packet);
    if (result < 0) return ReceiveFailed(result);
    const ffmpeg::PacketGuard guard(packet);
    int64_t stamp = packet->pts;
    if (!mStamps.empty()) {
      stamp = mStamps.front();
      mStamps.pop_front();
    }
    WriteLateHeader();
    result = Write(packet, stamp);
  } while (result == 0);
  return result;
}

int VideoEncoder::ReceiveFailed(int error) {
  if (error == AVERROR_EOF) {
    log_debug(kTag, "encode video eof");
    return error;
  }
  NoteIgnored();
  if (error == AVERROR(EAGAIN)) return 0;
  mFile->Remember(error);
  log_warn(kTag, "avcodec_receive_packet fail, error:%s",
           error == AVERROR(EINVAL) ? "AVERROR(EINVAL)" : "legitimate decoding errors");
  return error;
}

// Where opening the output could not write the header, the first packet with extradata does.
void VideoEncoder::WriteLateHeader() {
  if (!mFile->HeaderWritten() && mContext->extradata_size > 0) mFile->OpenFileAndWriteHeader();
}

void VideoEncoder::NoteIgnored() {
  if (mHasSucceeded) return;
  ++mIgnored;
  log_info(kTag, "m_ignoredVideoFrames(%d)", mIgnored);
}

int VideoEncoder::Drain() { return mContext == nullptr ? 0 : EncodeSendReceive(nullptr); }

void VideoEncoder::Close() {
  if (!Exists()) return;
  mPicture.reset();
  mContext.reset();
  mTrack.stream = nullptr;
  log_debug(kTag, "free Videostream");
}

}  // namespace codec
