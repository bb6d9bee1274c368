// SPDX-License-Identifier: MIT
#include "tests/robustness/packet_damage.h"

#include <array>
#include <random>
#include <utility>
#include <vector>

#include "codec/ffmpeg/compat_encoding.h"

namespace test_support {
namespace {

using codec::ffmpeg::UniquePacket;
using Packets = std::vector<UniquePacket>;
using Random = std::mt19937_64;

// About one packet in eight is damaged.
bool IsChosen(Random* random) { return (*random)() % 8 == 0; }

bool IsKeyPicture(const AVFormatContext* input, const AVPacket* packet) {
  return (packet->flags & AV_PKT_FLAG_KEY) != 0 &&
         input->streams[packet->stream_index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
}

void SwapNeighbours(const AVFormatContext* /*input*/, Packets* packets, Random* random) {
  for (size_t i = 0; i + 1 < packets->size(); ++i) {
    AVPacket* const one = (*packets)[i].get();
    AVPacket* const next = (*packets)[i + 1].get();
    if (one->stream_index != next->stream_index || !IsChosen(random)) continue;
    std::swap(one->buf, next->buf);
    std::swap(one->data, next->data);
    std::swap(one->size, next->size);
  }
}

template <typename IsLost>
void Lose(Packets* packets, IsLost isLost) {
  Packets kept;
  for (UniquePacket& packet : *packets) {
    if (!isLost(packet.get())) kept.push_back(std::move(packet));
  }
  *packets = std::move(kept);
}

void LoseSome(const AVFormatContext* /*input*/, Packets* packets, Random* random) {
  Lose(packets, [random](const AVPacket* /*packet*/) { return IsChosen(random); });
}

// All of them, or only the first.
void LoseKeys(const AVFormatContext* input, Packets* packets, Random* random) {
  bool all = (*random)() % 2 == 0;
  bool first = true;
  Lose(packets, [&](const AVPacket* packet) {
    return IsKeyPicture(input, packet) && (all || std::exchange(first, false));
  });
}

void DoubleSome(const AVFormatContext* /*input*/, Packets* packets, Random* random) {
  Packets doubled;
  for (UniquePacket& packet : *packets) {
    if (IsChosen(random)) doubled.emplace_back(av_packet_clone(packet.get()));
    doubled.push_back(std::move(packet));
  }
  *packets = std::move(doubled);
}

void LoseStamps(const AVFormatContext* /*input*/, Packets* packets, Random* random) {
  for (UniquePacket& packet : *packets) {
    if (!IsChosen(random)) continue;
    packet->pts = AV_NOPTS_VALUE;
    packet->dts = AV_NOPTS_VALUE;
  }
}

void MoveStamps(AVPacket* packet, AVRational timeBase, int64_t seconds) {
  const int64_t ticks = av_rescale_q(seconds, {1, 1}, timeBase);
  if (packet->pts != AV_NOPTS_VALUE) packet->pts += ticks;
  if (packet->dts != AV_NOPTS_VALUE) packet->dts += ticks;
}

// From a packet in the middle on, or only that packet.
void JumpStamps(const AVFormatContext* input, Packets* packets, Random* random) {
  constexpr std::array<int64_t, 5> kSeconds = {-3600, -1, 1, 3600, 360000};
  const int64_t seconds = kSeconds[(*random)() % kSeconds.size()];
  const size_t begin = (*random)() % packets->size();
  const size_t end = (*random)() % 2 == 0 ? packets->size() : begin + 1;
  for (size_t i = begin; i < end; ++i) {
    AVPacket* const packet = (*packets)[i].get();
    MoveStamps(packet, input->streams[packet->stream_index]->time_base, seconds);
  }
}

void NegateStamps(const AVFormatContext* input, Packets* packets, Random* random) {
  const auto seconds = -static_cast<int64_t>((*random)() % 20) - 1;
  for (UniquePacket& packet : *packets) {
    MoveStamps(packet.get(), input->streams[packet->stream_index]->time_base, seconds);
  }
}

struct Way {
  const char* name;
  void (*apply)(const AVFormatContext*, Packets*, Random*);
};
constexpr std::array kWays = {
    Way{"packets swapped", &SwapNeighbours}, Way{"packets lost", &LoseSome},
    Way{"key packets lost", &LoseKeys},      Way{"packets doubled", &DoubleSome},
    Way{"stamps lost", &LoseStamps},         Way{"stamps jump", &JumpStamps},
    Way{"stamps below zero", &NegateStamps},
};

const Way& WayOf(uint64_t seed) { return kWays[Random(seed)() % kWays.size()]; }

codec::ffmpeg::UniqueInput OpenInput(const std::string& path) {
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return nullptr;
  codec::ffmpeg::UniqueInput input(context);
  return avformat_find_stream_info(context, nullptr) < 0 ? nullptr : std::move(input);
}

Packets ReadPackets(AVFormatContext* input) {
  Packets packets;
  for (;;) {
    UniquePacket packet(av_packet_alloc());
    if (av_read_frame(input, packet.get()) < 0) return packets;
    packets.push_back(std::move(packet));
  }
}

void WritePackets(const AVFormatContext* input, const Packets& packets, const std::string& path) {
  const codec::ffmpeg::UniqueOutput output =
      codec::ffmpeg::NewMuxer(av_guess_format(nullptr, path.c_str(), nullptr), path.c_str());
  output->avoid_negative_ts = 0;
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    AVStream* const stream = avformat_new_stream(output.get(), nullptr);
    avcodec_parameters_copy(stream->codecpar, input->streams[i]->codecpar);
    stream->codecpar->codec_tag = 0;
    stream->time_base = input->streams[i]->time_base;
  }
  if (avio_open(&output->pb, path.c_str(), AVIO_FLAG_WRITE) < 0 ||
      avformat_write_header(output.get(), nullptr) < 0) {
    return;
  }
  // The muxer of ASF aborts the process at stamps that are missing or go back, that of MPEG program
  // streams never ends at some that are missing.
  const std::string muxer = output->oformat->name;
  const bool needsOrder = muxer == "asf";
  const bool needsStamps = needsOrder || muxer == "mpeg" || muxer == "vob";
  int64_t last = 0;
  for (const UniquePacket& packet : packets) {
    av_packet_rescale_ts(packet.get(), input->streams[packet->stream_index]->time_base,
                         output->streams[packet->stream_index]->time_base);
    packet->pos = -1;
    if (needsStamps && (packet->pts == AV_NOPTS_VALUE || packet->dts == AV_NOPTS_VALUE)) continue;
    if (needsOrder && (packet->pts < last || packet->dts < last)) continue;
    last = packet->dts;
    av_write_frame(output.get(), packet.get());
  }
  av_write_trailer(output.get());
}

}  // namespace

void DamagePackets(const std::string& from, const std::string& to, uint64_t seed) {
  const codec::ffmpeg::UniqueInput input = OpenInput(from);
  if (input == nullptr) return;
  Packets packets = ReadPackets(input.get());
  Random random(seed);
  const Way& way = kWays[random() % kWays.size()];
  if (!packets.empty()) way.apply(input.get(), &packets, &random);
  WritePackets(input.get(), packets, to);
}

std::string PacketDamageName(uint64_t seed) { return WayOf(seed).name; }

}  // namespace test_support
