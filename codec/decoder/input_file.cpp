// SPDX-License-Identifier: MIT
#include "codec/decoder/input_file.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "base/local_file.h"
#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/ffmpeg/compat_decoding.h"
#include "codec/ffmpeg/error_text.h"
#include "codec/ffmpeg/file_url.h"

namespace codec {

int InputFile::OpenHeader(const std::string& path) {
  mPath = path;
  const std::string local = but::LocalPath(path);
  // Checked before the file is opened: opening a pipe waits for a writer.
  mOpenFailure = {};
  if (const char* const reason = but::WhyNotSeekable(local)) {
    mOpenFailure = {AVERROR(ESPIPE), but::UnseekableKind(local)};
    return CannotOpen(reason);
  }
  AVFormatContext* context = nullptr;
  // A failed open frees the context itself.
  const int result =
      avformat_open_input(&context, ffmpeg::FileUrl(local).c_str(), nullptr, nullptr);
  if (result < 0) {
    mOpenFailure.error = result;
    return CannotOpen(ffmpeg::ErrorText(result));
  }
  mContext.reset(context);
  return 0;
}

int InputFile::FindStreams() {
  if (mProbe.bytes > 0) {
    mContext->probesize = mProbe.bytes;
    mContext->max_analyze_duration = mProbe.duration;
  }
  const int result = avformat_find_stream_info(mContext.get(), nullptr);
  if (result >= 0) {
    LearnPalettes();
    return 0;
  }
  mOpenFailure.error = result;
  log_error(kDecoderTag, "Could not find stream information");
  return -1;
}

void InputFile::ProbeTo(int64_t bytes) {
  constexpr int64_t kEver = int64_t{1000} * 3600 * AV_TIME_BASE;
  mProbe = {bytes, kEver};
}

// FFmpeg keeps the packets of a probe in memory.
int InputFile::FindStreamsFurther() {
  constexpr Probe kFurther = {int64_t{16} << 20, int64_t{60} * AV_TIME_BASE};
  if (mProbe.bytes == 0) mProbe = kFurther;
  return Open(std::string(mPath));
}

bool InputFile::LacksPictureForm() const {
  const int index = av_find_best_stream(mContext.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) return false;
  const AVCodecParameters& video = *mContext->streams[index]->codecpar;
  return video.format == AV_PIX_FMT_NONE && avcodec_find_decoder(video.codec_id) != nullptr;
}

void InputFile::Adopt(const std::string& path, ffmpeg::UniqueInput context) {
  mPath = path;
  mContext = std::move(context);
}

// Reads the first packet: a palette may come with no other.
void InputFile::LearnPalettes() {
  const bool hasPalette = std::any_of(
      mContext->streams, mContext->streams + mContext->nb_streams,
      [](const AVStream* stream) { return stream->codecpar->format == AV_PIX_FMT_PAL8; });
  if (hasPalette) Peek();
}

const AVPacket* InputFile::Peek() {
  std::vector<ffmpeg::UniquePacket> next;
  next.emplace_back(av_packet_alloc());
  if (next.front() == nullptr) {
    mFailure.Note(AVERROR(ENOMEM));
    return nullptr;
  }
  if (!Read(next.front().get())) return nullptr;
  PutBack(std::move(next));
  return mPutBack.front().get();
}

int InputFile::CannotOpen(const std::string& reason) const {
  log_error(kDecoderTag, "Could not open source file %s", mPath.c_str());
  log_error(kDecoderTag, "%s: %s", mPath.c_str(), reason.c_str());
  return -1;
}

bool InputFile::Read(AVPacket* packet) {
  if (!mPutBack.empty()) {
    av_packet_move_ref(packet, mPutBack.front().get());
    mPutBack.pop_front();
    ++mPacketsRead;
    return true;
  }
  const int result = Failure().Note(ReadFrame(packet));
  if (result < 0) {
    mEndError = result == AVERROR_EOF ? 0 : result;
    if (result != AVERROR_EOF) {
      log_warn(kDecoderTag, "%s cannot be read further: %s", mPath.c_str(),
               ffmpeg::ErrorText(result).c_str());
    }
    // Not every release leaves the packet blank.
    av_packet_unref(packet);
    return false;
  }
  if (mPacketsRead == 0 && mSeeks == 0) mFirstPosition = packet->pos;
  ++mPacketsRead;
  return true;
}

int InputFile::ReadFrame(AVPacket* packet) {
  for (;;) {
    int result = av_read_frame(mContext.get(), packet);
    if (result == AVERROR_EOF && mSkipsHoles && PassHole()) continue;
    if (result >= 0) result = mPalettes.Pass(packet);
    if (result < 0 || mReading == nullptr || mReading->Take(Context(), packet)) return result;
    av_packet_unref(packet);
  }
}

void InputFile::Join(const std::shared_ptr<const JoinedParts>& parts) {
  mParts = parts;
  mReading = parts == nullptr ? nullptr : std::make_unique<PartReading>(parts);
}

std::vector<int64_t> InputFile::Holes(int stream) const {
  const int64_t bytes = avio_size(mContext->pb);
  if (bytes <= 0) return {};
  return ffmpeg::IndexedOutside(mContext->streams[stream], bytes);
}

// The demuxer has passed the packet that it could not read. At the true end this is tried a few
// times for nothing.
bool InputFile::PassHole() {
  if (!mHolesLeft.has_value()) {
    mHolesLeft = 0;
    for (unsigned i = 0; i < mContext->nb_streams; ++i) {
      *mHolesLeft += Holes(static_cast<int>(i)).size();
    }
  }
  if (*mHolesLeft == 0) return false;
  --*mHolesLeft;
  mPassedHole = true;
  return true;
}

void InputFile::OnSeek() {
  ++mSeeks;
  mPutBack.clear();
  mPalettes.OnSeek();
  mHolesLeft.reset();
}

std::vector<int64_t> InputFile::TakeLeftOut() {
  return mReading == nullptr ? std::vector<int64_t>() : mReading->TakeLeftOut();
}

void InputFile::PutBack(std::vector<ffmpeg::UniquePacket> packets) {
  mPacketsRead -= static_cast<int64_t>(packets.size());
  mPutBack.insert(mPutBack.begin(), std::make_move_iterator(packets.begin()),
                  std::make_move_iterator(packets.end()));
}

int InputFile::SeekBackward(int stream, int64_t position) {
  OnSeek();
  if (mReading != nullptr) return mReading->SeekBackward(Context(), stream, position);
  return av_seek_frame(mContext.get(), stream, position, AVSEEK_FLAG_BACKWARD);
}

// The flag for a seek that may land on any packet. None if the index has a key packet before the
// packet at this position: a clip that was cut without encoding begins there, with pictures that
// are decoded but not shown.
int InputFile::AnyPacket(int64_t position) const {
  const int number = av_find_default_stream_index(mContext.get());
  if (number < 0) return AVSEEK_FLAG_ANY;
  AVStream* const stream = mContext->streams[number];
  const int64_t ticks = av_rescale_q(position, {1, AV_TIME_BASE}, stream->time_base);
  const int any = av_index_search_timestamp(stream, ticks, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
  const int key = av_index_search_timestamp(stream, ticks, AVSEEK_FLAG_BACKWARD);
  return key >= 0 && key < any ? 0 : AVSEEK_FLAG_ANY;
}

// The index that FFmpeg makes of a raw stream lacks a key packet without a stamp of decoding, such
// as the first one if pictures are reordered.
bool InputFile::HasMissedFirst() {
  const bool isIndexMade = (mContext->iformat->flags & AVFMT_GENERIC_INDEX) != 0;
  if (!isIndexMade || mContext->nb_streams != 1 || mFirstPosition < 0) return false;
  const AVPacket* const next = Peek();
  const bool hasMissed = next != nullptr && next->pos > mFirstPosition;
  if (hasMissed) mPutBack.clear();
  return hasMissed;
}

int InputFile::SeekToStart(int64_t earliest) {
  OnSeek();
  if (mReading != nullptr) return mReading->SeekToStart(Context());
  // Stamps may begin below 0: then 0 is somewhere in the middle. The first packet is decoded before
  // its picture is shown, and demuxers may look for it by the time of decoding.
  constexpr int64_t kEarlier = int64_t{60} * AV_TIME_BASE;
  const int64_t first = mContext->start_time;
  const int64_t start = first == AV_NOPTS_VALUE || first >= 0 ? 0 : first - kEarlier;
  const int any = AnyPacket(start);
  const int64_t least = any == 0 ? std::numeric_limits<int64_t>::min() : std::min(earliest, start);
  const int result =
      avformat_seek_file(mContext.get(), -1, least, start, start, AVSEEK_FLAG_BACKWARD | any);
  if (result >= 0 && !HasMissedFirst()) return result;
  if (result < 0 && !mWarnedOfStart) {
    log_warn(kDecoderTag, "%s: no way to its start by time: %s", mPath.c_str(),
             ffmpeg::ErrorText(result).c_str());
    mWarnedOfStart = true;
  }
  // A stream without stamps has no times to seek to, and the search for a time has read to the end.
  return av_seek_frame(mContext.get(), -1, 0, AVSEEK_FLAG_BYTE);
}

}  // namespace codec
