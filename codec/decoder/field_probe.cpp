// SPDX-License-Identifier: MIT
#include "codec/decoder/field_probe.h"

#include <algorithm>
#include <array>

#include "codec/ffmpeg/compat_fields.h"

namespace codec {
namespace {

// Codecs whose pictures say whether they are interlaced.
constexpr std::array kTellingCodecs = {
    AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_H264,    AV_CODEC_ID_HEVC,   AV_CODEC_ID_VC1,
    AV_CODEC_ID_MPEG4,      AV_CODEC_ID_DVVIDEO, AV_CODEC_ID_PRORES, AV_CODEC_ID_DNXHD};

// Pulldown makes two pictures of five interlaced, and a decoder may begin with broken ones.
constexpr int kPictures = 8;
// Of the length: programmes and what stands between them often differ.
constexpr std::array kPlaces = {0.0, 0.25, 0.5, 0.75};

// FFmpeg gives the fields of this codec one by one.
FieldOrder AsDecoded(FieldOrder order, AVCodecID codec) {
  return IsWoven(order) && codec == AV_CODEC_ID_HEVC ? FieldOrder::kSingle : order;
}

}  // namespace

// AV_FIELD_TB and AV_FIELD_BT are documented by FFmpeg the other way round. But muxers, its own
// too, write them for fields of one picture, and mean by the first letter the field that is shown
// first.
FieldOrder NamedOrder(AVFieldOrder order) {
  switch (order) {
    case AV_FIELD_TT:
    case AV_FIELD_TB:
      return FieldOrder::kTopFirst;
    case AV_FIELD_BB:
    case AV_FIELD_BT:
      return FieldOrder::kBottomFirst;
    default:
      return FieldOrder::kProgressive;
  }
}

FieldOrder FieldProbe::Run(FieldOrder first) {
  const AVCodecParameters* const parameters = mSession->video->Stream()->codecpar;
  const FieldOrder named = NamedOrder(parameters->field_order);
  if (IsWoven(first) || !IsWoven(named)) return AsDecoded(first, parameters->codec_id);
  const bool tells = std::find(kTellingCodecs.begin(), kTellingCodecs.end(),
                               parameters->codec_id) != kTellingCodecs.end();
  return tells ? AsDecoded(Search(), parameters->codec_id) : named;
}

FieldOrder FieldProbe::Search() {
  FieldOrder found = FieldOrder::kProgressive;
  if (mFrame == nullptr || mPacket == nullptr) {
    mSession->input.Failure().Keep(AVERROR(ENOMEM));
    return found;
  }
  for (const double place : kPlaces) {
    if (!IsWoven(found)) {
      found = OrderAt(mSession->times.FirstVideo() + place * mSession->duration);
    }
  }
  return found;
}

FieldOrder FieldProbe::OrderAt(double seconds) {
  StreamDecoder* const video = mSession->video.get();
  mSession->input.SeekBackward(-1, static_cast<int64_t>(seconds * AV_TIME_BASE));
  mSession->FlushDecoders();
  FieldOrder order = FieldOrder::kProgressive;
  bool mayGive = true;
  for (int pictures = 0; pictures < kPictures && !IsWoven(order);) {
    if (video->Receive(mFrame.get()) >= 0) {
      const ffmpeg::FrameGuard guard(mFrame.get());
      order = ffmpeg::FieldsOf(mFrame.get());
      ++pictures;
    } else if (mayGive) {
      mayGive = Feed();
    } else {
      break;
    }
  }
  return order;
}

// False at the end of the input.
bool FieldProbe::Feed() {
  StreamDecoder* const video = mSession->video.get();
  if (!mSession->input.Read(mPacket.get())) {
    video->Send(nullptr);
    return false;
  }
  const ffmpeg::PacketGuard guard(mPacket.get());
  if (video->Owns(mPacket.get())) video->Send(mPacket.get());
  return true;
}

}  // namespace codec
