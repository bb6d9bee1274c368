// SPDX-License-Identifier: MIT
#include "codec/encoder/output_file.h"

#include <array>
#include <ctime>
#include <string_view>
#include <utility>

#include "base/local_file.h"
#include "base/log.h"
#include "codec/encoder/container.h"
#include "codec/ffmpeg/compat_encoding.h"
#include "codec/ffmpeg/error_text.h"
#include "codec/ffmpeg/file_url.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

// Opaque mark of the files that this system writes.
constexpr char kDescription[] =
    "Y2xpcC1yZXZlcnNlIHdyaXRlcyBldmVyeSBmcmFtZSBvZiBhIGNs"
    "aXAgaW4gdGhlIG9wcG9zaXRlIG9yZGVyLCBuZXdlc3QgZmlyc3Qu";
static_assert(sizeof(kDescription) - 1 == 104);

// Several containers write the packets of any codec without a complaint: a file that nothing can
// play.
bool TakesStreams(const AVFormatContext& context, const std::string& path) {
  for (unsigned i = 0; i < context.nb_streams; ++i) {
    if (!TakesPackets(*context.oformat, *context.streams[i]->codecpar, path.c_str())) return false;
  }
  return true;
}

// The local time without a zone; readers take it as local time too.
std::array<char, 40> TimeText() {
  std::array<char, 40> text{};
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  localtime_r(&now, &local);
  std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
  return text;
}

}  // namespace

int OutputFile::Create(const std::string& path, const EncoderOptions& options,
                       const std::string& writePath) {
  if (mContext != nullptr) return 0;
  mPath = path;
  mHeader = Header::kNone;
  mError.Forget();
  const AVOutputFormat* format = ChooseContainer(path.c_str());
  if (format == nullptr) {
    log_error(kTag, "not find format for %s", path.c_str());
    return -1;
  }
  // The muxer needs the address too: it opens the file a second time to move its index forward.
  mContext = ffmpeg::NewMuxer(format, ffmpeg::FileUrl(but::LocalPath(path)).c_str());
  if (mContext == nullptr) {
    Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not deduce output format from file extension.");
    return -1;
  }
  mWriteUrl = mContext->url;
  if (!writePath.empty()) RedirectMuxer(writePath);
  Remember(SetOptions(mContext.get(), options, AV_OPT_FLAG_ENCODING_PARAM, '\0'));
  if (format->priv_class != nullptr) {
    Remember(SetOptions(mContext->priv_data, options, AV_OPT_FLAG_ENCODING_PARAM, '\0'));
  }
  return 0;
}

// The muxer keeps the user's path, which stands in its log lines.
void OutputFile::RedirectMuxer(const std::string& writePath) {
  mWriteUrl = ffmpeg::FileUrl(writePath);
  mUsualOpen = mContext->io_open;
  mContext->opaque = this;
  mContext->io_open = &OutputFile::OpenForMuxer;
}

int OutputFile::OpenForMuxer(AVFormatContext* context, AVIOContext** file, const char* url,
                             int flags, AVDictionary** options) {
  const auto* const output = static_cast<const OutputFile*>(context->opaque);
  if (std::string_view(url) != context->url) {
    return output->mUsualOpen(context, file, url, flags, options);
  }
  return avio_open(file, output->mWriteUrl.c_str(), flags);
}

AVStream* OutputFile::AddStream(const AVCodec* codec) {
  return avformat_new_stream(mContext.get(), codec);
}

void OutputFile::StampMetadata() {
  const std::array<char, 40> time = TimeText();
  Remember(av_dict_set(&mContext->metadata, "description", kDescription, 0));
  Remember(av_dict_set(&mContext->metadata, "creation_time", time.data(), 0));
  for (unsigned i = 0; i < mContext->nb_streams; ++i) {
    Remember(av_dict_set(&mContext->streams[i]->metadata, "creation_time", time.data(), 0));
  }
}

int OutputFile::OpenFileAndWriteHeader() {
  if (mHeader != Header::kNone) return 0;
  if (mContext == nullptr) return -1;
  if ((Format()->flags & AVFMT_NOFILE) == 0 &&
      Remember(avio_open(&mContext->pb, mWriteUrl.c_str(), AVIO_FLAG_WRITE)) < 0) {
    log_error(kTag, "Could not open '%s'\n", mPath.c_str());
    log_error(kTag, "'%s': %s", mPath.c_str(), ffmpeg::ErrorText(OutputError()).c_str());
    return -1;
  }
  // A muxer whose header failed crashes when it is called again, so the refusal is kept and packets
  // are turned away here. OutputError tells the caller that going on is no use.
  const int result =
      Remember(TakesStreams(*mContext, mPath) ? avformat_write_header(mContext.get(), nullptr)
                                              : AVERROR(EINVAL));
  mHeader = result < 0 ? Header::kRefused : Header::kWritten;
  if (result < 0) {
    log_error(kTag, "Could not write the header of '%s': %s", mPath.c_str(),
              ffmpeg::ErrorText(result).c_str());
  }
  return 0;
}

void OutputFile::Await(PendingPackets* pending, AVRational timeBase, OutputTrack* track) {
  mPending = pending;
  mPendingTimeBase = timeBase;
  mPendingTrack = track;
}

void OutputFile::WritePending() {
  PendingPackets* const pending = std::exchange(mPending, nullptr);
  if (pending == nullptr) return;
  while (AVPacket* const packet = pending->Next()) {
    const ffmpeg::PacketGuard guard(packet);
    pending->Written(WriteNow(packet, mPendingTimeBase, mPendingTrack));
  }
}

int OutputFile::WritePacket(AVPacket* packet, AVRational encoderTimeBase, OutputTrack* track) {
  WritePending();
  return WriteNow(packet, encoderTimeBase, track);
}

int OutputFile::WriteNow(AVPacket* packet, AVRational encoderTimeBase, OutputTrack* track) {
  const AVRational timeBase = track->stream->time_base;
  av_packet_rescale_ts(packet, encoderTimeBase, timeBase);
  packet->stream_index = track->stream->index;
  if (mKeepsSlotsEven) RaisePriming(packet, track);
  track->lastTime =
      packet->pts == AV_NOPTS_VALUE ? -1.0 : static_cast<double>(packet->pts) * av_q2d(timeBase);
  if (mContext == nullptr || mHeader != Header::kWritten) return Remember(AVERROR(EINVAL));
  KeepStampsIncreasing(packet, track);
  return Remember(av_interleaved_write_frame(mContext.get(), packet));
}

void OutputFile::KeepSlotsEven() {
  mKeepsSlotsEven =
      mContext != nullptr && HasFixedRate(*Format()) && (Format()->flags & AVFMT_TS_NEGATIVE) == 0;
}

void OutputFile::RaisePriming(AVPacket* packet, OutputTrack* track) const {
  const bool isFirst = track->lastDts == AV_NOPTS_VALUE;
  const bool isSound = track->stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
  if (isFirst && isSound && packet->dts != AV_NOPTS_VALUE && packet->dts < 0) {
    track->rise = -packet->dts;
  }
  if (packet->dts != AV_NOPTS_VALUE) packet->dts += track->rise;
  if (packet->pts != AV_NOPTS_VALUE) packet->pts += track->rise;
}

// Frame numbers increase strictly, but a stream whose time base is coarser than the frame period
// gives neighbours the same stamp, and muxers that insist on increasing stamps would refuse the
// packet. The raised stamps may run ahead of the true ones, so that a lower one is raised as well.
void OutputFile::KeepStampsIncreasing(AVPacket* packet, OutputTrack* track) const {
  if (packet->dts == AV_NOPTS_VALUE) return;
  const bool strict = (Format()->flags & AVFMT_TS_NONSTRICT) == 0;
  if (strict && track->lastDts != AV_NOPTS_VALUE && packet->dts <= track->lastDts) {
    const int64_t rise = track->lastDts + 1 - packet->dts;
    packet->dts += rise;
    if (packet->pts != AV_NOPTS_VALUE) packet->pts += rise;
  }
  track->lastDts = packet->dts;
}

void OutputFile::WriteTrailer() {
  WritePending();
  if (mContext == nullptr || mHeader != Header::kWritten || mContext->nb_streams == 0) return;
  if (Remember(av_write_trailer(mContext.get())) < 0) {
    log_error(kTag, "wirte trailer failed.");
  } else {
    log_debug(kTag, "write trailer successfully.");
  }
}

void OutputFile::Close() {
  if (mContext == nullptr) return;
  const bool needsFile = (Format()->flags & AVFMT_NOFILE) == 0;
  // Closed by hand, because the last bytes are flushed here and a full disk shows only now.
  if (needsFile) {
    if (mContext->pb != nullptr) {
      avio_flush(mContext->pb);
      Remember(mContext->pb->error);
    }
    Remember(avio_closep(&mContext->pb));
    log_debug(kTag, "close output file.");
  }
  mContext.reset();
}

int OutputFile::Remember(int result) { return mError.Keep(result); }

}  // namespace codec
