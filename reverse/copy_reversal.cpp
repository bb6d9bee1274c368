// SPDX-License-Identifier: MIT
#include "reverse/copy_reversal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "codec/decoder/packet_clock.h"
#include "codec/encoder/container.h"
#include "codec/encoder/exact_sound.h"
#include "codec/utils/field_order.h"
#include "codec/utils/orientation.h"
#include "codec/writer/packet_trial.h"
#include "codec/writer/packet_writer.h"
#include "reverse/copy_keys.h"
#include "reverse/copy_walk.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

// Codecs whose packets do not say which field is shown first: only the container does.
constexpr std::array kWithoutFields = {AV_CODEC_ID_RAWVIDEO, AV_CODEC_ID_V210,    AV_CODEC_ID_R210,
                                       AV_CODEC_ID_HUFFYUV,  AV_CODEC_ID_FFVHUFF, AV_CODEC_ID_PNG};

// The best of those that hold most codecs first.
constexpr std::array<const char*, 5> kContainers = {".mov", ".mkv", ".mp4", ".avi", ".ts"};

// AVI has no place for the order of fields that readers look at.
bool LosesFields(const std::string& output, const MediaFormat& format) {
  std::string order;
  format.GetString("field-order", order);
  const bool isWoven = IsWoven(FieldOrderOf(order).value_or(FieldOrder::kProgressive));
  return isWoven && ChooseContainer(output.c_str()) == ChooseContainer(".avi");
}

std::string NameOf(AVCodecID codec) { return avcodec_get_name(codec); }

std::string SecondsText(double seconds) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3f", seconds);
  return text.data();
}

// What the packets would fit into, and sound beside them if an encoder is named.
std::string OthersThan(const std::string& output, AVCodecID codec, const char* sound = nullptr) {
  std::string text;
  for (const char* const extension : kContainers) {
    const bool isSame = ChooseContainer(extension) == ChooseContainer(output.c_str());
    if (isSame || !TakesCodec(extension, codec)) continue;
    if (sound != nullptr && CodecNotTaken(extension, sound) != nullptr) continue;
    text += (text.empty() ? "use " : " or ") + std::string(extension);
  }
  return text;
}

}  // namespace

void CopyReversal::SetWishes(const std::string& outputPath, const MediaFormat& parameters) {
  MirrorReversal::SetWishes(outputPath, parameters);
  mOutput = outputPath;
  for (const auto& [key, value] : parameters.Entries()) {
    if (!IsForCopies(key) && mForeignKey.empty()) mForeignKey = key;
    mHasSoundChoice = mHasSoundChoice || key == "audio-codec";
  }
}

DecoderAdditions CopyReversal::Additions() const {
  DecoderAdditions additions = MirrorReversal::Additions();
  additions.skipsKeyScan = true;
  return additions;
}

// A file without video is refused later, and says so.
int CopyReversal::Prepare(FFmpegDecoderImpl2* decoder, const std::string& path, bool withSound,
                          MediaInfo* info) {
  if (MirrorReversal::Prepare(decoder, path, withSound, info) != 0) return -1;
  if (info->has_video == 0) return 0;
  return mPackets.Open(path, ffmpeg::UniqueInput(decoder->TakeInput()), Joined());
}

void CopyReversal::ChooseSound(int bits, EncoderSettings* wishes) const {
  if (wishes->audioChannels.empty()) wishes->audioChannels = "source";
  if (!mHasSoundChoice) wishes->audioCodec = ExactSoundEncoder(mOutput, bits);
}

std::string CopyReversal::Obstacle(const MediaInfo& info, double start, double end,
                                   const MediaFormat& format) {
  if (!mForeignKey.empty()) {
    return mForeignKey + " is for pictures that are encoded; leave it out";
  }
  mIsConstant = info.has_constant_rate != 0;
  std::string obstacle = NotKept(info);
  if (obstacle.empty()) obstacle = NotAlone(start, end);
  return obstacle.empty() ? NotHeld(format) : obstacle;
}

// What the pictures' packets do not say, and what they say wrongly once time runs backward.
std::string CopyReversal::NotKept(const MediaInfo& info) const {
  const AVCodecParameters& codec = *Pictures()->codecpar;
  const bool tellsFields = std::find(kWithoutFields.begin(), kWithoutFields.end(),
                                     codec.codec_id) == kWithoutFields.end();
  if (info.field_order == FieldOrder::kSingle ||
      (info.field_order != FieldOrder::kProgressive && tellsFields)) {
    return "its pictures are interlaced, and each says which field comes first, which is the other "
           "one once time runs backward";
  }
  if (codec.format == AV_PIX_FMT_PAL8 && codec.codec_id != AV_CODEC_ID_PNG) {
    return "its pictures have their palette beside them";
  }
  if (info.orientation != kUpright && !TellsRotation(mOutput.c_str())) {
    return "players turn its pictures, which " + mOutput + " cannot ask for; use " +
           (TakesCodec(".mp4", codec.codec_id) ? ".mov or .mp4" : ".mov");
  }
  return "";
}

std::string CopyReversal::NotAlone(double start, double end) {
  const AVStream& stream = *Pictures();
  mPackets.SetRange(TickFrom(Zero() + start, stream.time_base),
                    TickFrom(Zero() + end, stream.time_base));
  const ffmpeg::UniquePacket found = mPackets.FindDependent();
  if (found == nullptr) return "";
  const int64_t stamp = StampOf(found.get());
  if (stamp == AV_NOPTS_VALUE) return "its pictures have no times; put it into .mkv or .mov first";
  const double time = Seconds(stamp, stream.time_base) - Zero();
  return "its picture at " + SecondsText(time) + " s leans on others (" +
         NameOf(stream.codecpar->codec_id) + "), so that it cannot stand in another order";
}

std::string CopyReversal::NotHeld(const MediaFormat& format) {
  const AVCodecID codec = Pictures()->codecpar->codec_id;
  MediaFormat silent = format;
  silent.SetInt32("has-audio", 0);
  const ffmpeg::UniquePacket picture = mPackets.Sample();
  if (!TakesCodec(mOutput.c_str(), codec) ||
      !GivesPicturesBack(Pictures(), silent, picture.get())) {
    const std::string others = OthersThan(mOutput, codec);
    return mOutput + " cannot hold its " + NameOf(codec) + " pictures" +
           (others.empty() ? "" : "; " + others);
  }
  int hasSound = 0;
  format.GetInt32("has-audio", hasSound);
  if (hasSound == 0) return "";
  const bool hasEncoder = !Wishes().audioCodec.empty();
  if (hasEncoder && GivesPicturesBack(Pictures(), format, picture.get())) return "";
  const std::string what =
      mHasSoundChoice ? Wishes().audioCodec + " sound like this" : "sound without loss";
  const char* const sound = mHasSoundChoice ? Wishes().audioCodec.c_str() : "pcm_s16le";
  const std::string others = OthersThan(mOutput, codec, sound);
  return mOutput + " cannot hold " + what + "; " + (others.empty() ? "" : others + ", ") +
         "set another audio-codec, such as aac, or leave the sound out";
}

void CopyReversal::Describe(const MediaInfo& info, double start, double end,
                            MediaFormat* format) const {
  MirrorReversal::Describe(info, start, end, format);
  format->SetString("audio-codec", Wishes().audioCodec.c_str());
}

MediaWriter* CopyReversal::MakeWriter(MediaFormat& format) const {
  auto writer = std::make_unique<PacketWriter>(Pictures());
  if (writer->Configure(format) == 0) {
    if (LosesFields(mOutput, format)) {
      log_warn(kTag, "the pictures are interlaced, which %s does not say; .mov and .mkv do",
               mOutput.c_str());
    }
    return writer.release();
  }
  format.SetInt32("output-error", writer->OutputError());
  return nullptr;
}

std::unique_ptr<BackwardWalk> CopyReversal::MakeWalk(FFmpegDecoder* /*decoder*/,
                                                     MediaWriter* writer,
                                                     const ReverseRange& range) {
  CopyRange copied;
  copied.start = range.start;
  copied.end = range.end;
  copied.zero = Zero();
  copied.lastsToEnd = !mIsConstant;
  auto* const packetWriter = dynamic_cast<PacketWriter*>(writer);
  // A job may bring a writer of its own, for pictures.
  if (packetWriter == nullptr) return nullptr;
  return std::make_unique<CopyWalk>(&mPackets, packetWriter, copied,
                                    SoundOf(writer, range.start, range.end));
}

int CopyReversal::HostError() const {
  const int error = MirrorReversal::HostError();
  return error != 0 ? error : mPackets.Failure();
}

}  // namespace codec
