// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_decoder.h"

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/ffmpeg/compat_decoding.h"

namespace codec {

int SoundDecoder::Open(const AVStream* stream, const char* option, FirstFailure* failure) {
  mOption = option;
  mFailure = failure;
  mCodec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (mCodec == nullptr) {
    log_error(kDecoderTag, "Failed to find audio codec");
    return -1;
  }
  return Start(stream);
}

int SoundDecoder::Start(const AVStream* stream) {
  ++mStarts;
  mContext = ffmpeg::NewDecoder(stream, mCodec);
  AVDictionary* options = nullptr;
  int opened = mContext == nullptr ? AVERROR(ENOMEM) : 0;
  if (opened >= 0) {
    mContext->pkt_timebase = stream->time_base;
    mContext->thread_count = 1;
    if (mOption != nullptr) opened = av_dict_set(&options, mOption, "1", 0);
  }
  if (opened >= 0) opened = avcodec_open2(mContext.get(), mCodec, &options);
  av_dict_free(&options);
  if (mFailure->Note(opened) >= 0) return 0;
  log_error(kDecoderTag, "Failed to open audio codec");
  mContext.reset();
  return -1;
}

void SoundDecoder::Send(AVPacket* packet) {
  mHasFailed = false;
  // To a decoder a packet without bytes would be the end of its stream.
  if (packet != nullptr && packet->size <= 0) return;
  if (packet != nullptr) ++mPacketsDecoded;
  Note(avcodec_send_packet(mContext.get(), packet));
}

bool SoundDecoder::Receive(AVFrame* frame) {
  if (Note(avcodec_receive_frame(mContext.get(), frame)) < 0) return false;
  ffmpeg::StampFirstSample(frame);
  return true;
}

int SoundDecoder::Note(int result) {
  if (result < 0 && result != AVERROR(EAGAIN) && result != AVERROR_EOF) mHasFailed = true;
  return mFailure->Note(result);
}

}  // namespace codec
