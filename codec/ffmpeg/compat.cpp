// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/compat.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "codec/utils/orientation.h"

extern "C" {
#include <libavutil/display.h>
}

#define HAS_CHANNEL_LAYOUT (LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(59, 24, 100))    // FFmpeg 5.1
#define HAS_INDEX_CALLS (LIBAVFORMAT_VERSION_MAJOR >= 59)                             // FFmpeg 5.0
#define HAS_COPY_OPAQUE (LIBAVCODEC_VERSION_MAJOR >= 60)                              // FFmpeg 6.0
#define HAS_FIELD_FLAGS (LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100))         // FFmpeg 6.1
#define HAS_FRAME_DURATION (LIBAVUTIL_VERSION_MAJOR >= 58)                            // FFmpeg 6.0
#define HAS_PARAMETER_SIDE_DATA (LIBAVCODEC_VERSION_MAJOR >= 61)                      // FFmpeg 7.0
#define HAS_SUPPORTED_CONFIG (LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100))  // FFmpeg 7.1
#define HAS_RECEIVING_THREADS (LIBAVCODEC_VERSION_MAJOR >= 62)                        // FFmpeg 8.0

namespace codec::ffmpeg {
namespace {

bool IsSet(AVRational rate) { return rate.num > 0 && rate.den > 0; }

constexpr size_t kDisplayMatrixBytes = 9 * sizeof(int32_t);
constexpr int kLargestFixedPoint = 0x7fff;

const int32_t* DisplayMatrix(const AVStream* stream) {
#if HAS_PARAMETER_SIDE_DATA
  const AVPacketSideData* data =
      av_packet_side_data_get(stream->codecpar->coded_side_data,
                              stream->codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
  if (data == nullptr || data->size < kDisplayMatrixBytes) return nullptr;
  return reinterpret_cast<const int32_t*>(data->data);
#else
  return reinterpret_cast<const int32_t*>(
      av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
#endif
}

#if HAS_CHANNEL_LAYOUT
uint64_t MaskOf(const AVChannelLayout& layout) {
  return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
}
#endif

// The muxers that store a display matrix in the track header.
bool IsMovFamily(const AVOutputFormat* format) {
  constexpr std::array<std::string_view, 8> kNames = {"mp4", "mov", "ipod", "3gp",
                                                      "3g2", "psp", "f4v",  "ismv"};
  return std::find(kNames.begin(), kNames.end(), format->name) != kNames.end();
}

}  // namespace

UniqueCodecContext NewDecoder(const AVStream* stream, const AVCodec* codec) {
  UniqueCodecContext context(avcodec_alloc_context3(codec));
  if (context == nullptr) return nullptr;
  if (avcodec_parameters_to_context(context.get(), stream->codecpar) < 0) return nullptr;
#if HAS_COPY_OPAQUE
  context->flags |= AV_CODEC_FLAG_COPY_OPAQUE;
#endif
  return context;
}

void TagPacket([[maybe_unused]] AVPacket* packet) {
#if HAS_COPY_OPAQUE
  packet->opaque = reinterpret_cast<void*>(static_cast<intptr_t>(packet->size));
#endif
}

int FramePacketSize(const AVFrame* frame) {
#if HAS_COPY_OPAQUE
  return static_cast<int>(reinterpret_cast<intptr_t>(frame->opaque));
#else
  return frame->pkt_size;
#endif
}

int PacketsLate(const AVCodecContext* context) {
  if ((context->active_thread_type & FF_THREAD_FRAME) == 0) return 0;
#if HAS_RECEIVING_THREADS
  return context->thread_count - 1;
#else
  // One less for FFV1.
  return context->thread_count - (context->codec_id == AV_CODEC_ID_FFV1 ? 2 : 1);
#endif
}

int DecodeOne(AVCodecContext* context, AVFrame* frame, AVFrame* spare, int* gotFrame,
              AVPacket* packet) {
  *gotFrame = 0;
  const bool drain = packet->size == 0;
  if (!drain) TagPacket(packet);
  int result = avcodec_send_packet(context, drain ? nullptr : packet);
  if (result < 0 && result != AVERROR_EOF) return result;
  for (;;) {
    result = avcodec_receive_frame(context, *gotFrame != 0 ? spare : frame);
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) break;
    if (result < 0) return result;
    if (*gotFrame != 0) {
      if (context->codec_type == AVMEDIA_TYPE_AUDIO) {
        av_frame_unref(frame);
        av_frame_move_ref(frame, spare);
      } else {
        av_frame_unref(spare);
      }
    }
    *gotFrame = 1;
    if (drain) break;
  }
  return packet->size;
}

int TicksPerFrame(AVCodecID id) {
  return id == AV_CODEC_ID_H264 || id == AV_CODEC_ID_MPEG2VIDEO || id == AV_CODEC_ID_VC1 ? 2 : 1;
}

AVRational CodecTimeBase(const AVStream* stream) {
  AVRational rate = stream->avg_frame_rate;
#if HAS_PARAMETER_SIDE_DATA
  if (!IsSet(rate)) rate = stream->codecpar->framerate;
  if (!IsSet(rate)) return stream->time_base;
#else
  if (!IsSet(rate)) return av_stream_get_codec_timebase(stream);
#endif
  return av_inv_q(av_mul_q(rate, AVRational{TicksPerFrame(stream->codecpar->codec_id), 1}));
}

AVRational RealBaseRate(const AVStream* stream) {
#if HAS_PARAMETER_SIDE_DATA
  // Newer releases report the field rate of field-coded codecs where no usable stamps exist.
  const AVRational coded = stream->codecpar->framerate;
  if (TicksPerFrame(stream->codecpar->codec_id) == 2 && IsSet(coded) &&
      av_cmp_q(stream->r_frame_rate, av_mul_q(coded, AVRational{2, 1})) == 0) {
    return coded;
  }
#endif
  return stream->r_frame_rate;
}

int64_t Duration(const AVFrame* frame) {
#if HAS_FRAME_DURATION
  return frame->duration;
#else
  return frame->pkt_duration;
#endif
}

void SetDuration(AVFrame* frame, int64_t ticks) {
#if HAS_FRAME_DURATION
  frame->duration = ticks;
#else
  frame->pkt_duration = ticks;
#endif
}

void StampFirstSample(AVFrame* frame) {
#if LIBAVCODEC_VERSION_MAJOR < 59
  if (frame->pts != AV_NOPTS_VALUE) frame->best_effort_timestamp = frame->pts;
#else
  static_cast<void>(frame);
#endif
}

int64_t IndexedAtOrBefore(AVStream* stream, int64_t ticks) {
#if HAS_INDEX_CALLS
  const AVIndexEntry* const entry =
      avformat_index_get_entry_from_timestamp(stream, ticks, AVSEEK_FLAG_BACKWARD);
  return entry == nullptr ? AV_NOPTS_VALUE : entry->timestamp;
#else
  const int entry = av_index_search_timestamp(stream, ticks, AVSEEK_FLAG_BACKWARD);
  return entry < 0 ? AV_NOPTS_VALUE : stream->index_entries[entry].timestamp;
#endif
}

int64_t IndexedBytes(AVStream* stream) {
  int64_t end = 0;
#if HAS_INDEX_CALLS
  const int count = avformat_index_get_entries_count(stream);
#else
  const int count = stream->nb_index_entries;
#endif
  for (int i = 0; i < count; ++i) {
#if HAS_INDEX_CALLS
    const AVIndexEntry& entry = *avformat_index_get_entry(stream, i);
#else
    const AVIndexEntry& entry = stream->index_entries[i];
#endif
    end = std::max(end, entry.pos + entry.size);
  }
  return end;
}

int EncodeOne(AVCodecContext* context, AVPacket* packet, const AVFrame* frame, int* gotPacket) {
  *gotPacket = 0;
  int result = avcodec_send_frame(context, frame);
  if (result < 0) return result;
  result = avcodec_receive_packet(context, packet);
  if (result == AVERROR(EAGAIN)) return 0;
  if (result < 0) return result;
  *gotPacket = 1;
  if (packet->duration == 0) packet->duration = 1;
  return 0;
}

UniqueOutput NewMuxer(const AVOutputFormat* format, const char* path) {
  AVFormatContext* context = nullptr;
  avformat_alloc_output_context2(&context, const_cast<AVOutputFormat*>(format), nullptr, path);
  return UniqueOutput(context);
}

AVCodecID UsualCodec(const AVOutputFormat* format, const char* path, AVMediaType kind) {
  return av_guess_codec(const_cast<AVOutputFormat*>(format), nullptr, path, nullptr, kind);
}

int Channels(const AVCodecContext* context) {
#if HAS_CHANNEL_LAYOUT
  return context->ch_layout.nb_channels;
#else
  return context->channels;
#endif
}

int Channels(const AVFrame* frame) {
#if HAS_CHANNEL_LAYOUT
  return frame->ch_layout.nb_channels;
#else
  return frame->channels;
#endif
}

int Channels(const AVCodecParameters* parameters) {
#if HAS_CHANNEL_LAYOUT
  return parameters->ch_layout.nb_channels;
#else
  return parameters->channels;
#endif
}

uint64_t ChannelMask(const AVCodecContext* context) {
#if HAS_CHANNEL_LAYOUT
  return MaskOf(context->ch_layout);
#else
  return context->channel_layout;
#endif
}

uint64_t ChannelMask(const AVFrame* frame) {
#if HAS_CHANNEL_LAYOUT
  return MaskOf(frame->ch_layout);
#else
  return frame->channel_layout;
#endif
}

uint64_t DefaultChannelMask(int channels) {
#if HAS_CHANNEL_LAYOUT
  AVChannelLayout layout = {};
  av_channel_layout_default(&layout, channels);
  const uint64_t mask = MaskOf(layout);
  av_channel_layout_uninit(&layout);
  return mask;
#else
  return static_cast<uint64_t>(av_get_default_channel_layout(channels));
#endif
}

void SetDefaultLayout(AVCodecContext* context, int channels) {
#if HAS_CHANNEL_LAYOUT
  av_channel_layout_uninit(&context->ch_layout);
  av_channel_layout_default(&context->ch_layout, channels);
#else
  context->channels = channels;
  context->channel_layout = static_cast<uint64_t>(av_get_default_channel_layout(channels));
#endif
}

uint64_t AnyChannelMask(int channels) {
  constexpr int kMost = 63;
  return channels < 1 || channels > kMost ? 0 : (uint64_t{1} << channels) - 1;
}

void SetLayout(AVCodecContext* context, int channels, uint64_t mask) {
  if (mask == 0 || av_popcount64(mask) != channels) return SetDefaultLayout(context, channels);
#if HAS_CHANNEL_LAYOUT
  av_channel_layout_uninit(&context->ch_layout);
  av_channel_layout_from_mask(&context->ch_layout, mask);
#else
  context->channels = channels;
  context->channel_layout = mask;
#endif
}

std::string LayoutName(int channels, uint64_t mask) {
  std::array<char, 256> name{};
  if (mask == 0) return std::to_string(channels) + " channels";
#if HAS_CHANNEL_LAYOUT
  AVChannelLayout layout = {};
  av_channel_layout_from_mask(&layout, mask);
  av_channel_layout_describe(&layout, name.data(), name.size());
#else
  av_get_channel_layout_string(name.data(), static_cast<int>(name.size()), channels, mask);
#endif
  return name.data();
}

int CopyLayout(AVFrame* frame, const AVCodecContext* context) {
#if HAS_CHANNEL_LAYOUT
  return av_channel_layout_copy(&frame->ch_layout, &context->ch_layout);
#else
  frame->channels = context->channels;
  frame->channel_layout = context->channel_layout;
  return 0;
#endif
}

namespace {

UniqueResampler NewConverter(uint64_t outMask, AVSampleFormat outFormat, int outRate,
                             uint64_t inMask, AVSampleFormat inFormat, int inRate) {
#if HAS_CHANNEL_LAYOUT
  AVChannelLayout out = {};
  AVChannelLayout in = {};
  if (av_channel_layout_from_mask(&out, outMask) < 0) return nullptr;
  if (av_channel_layout_from_mask(&in, inMask) < 0) return nullptr;
  SwrContext* resampler = nullptr;
  const int result =
      swr_alloc_set_opts2(&resampler, &out, outFormat, outRate, &in, inFormat, inRate, 0, nullptr);
  UniqueResampler owned(resampler);
  return result < 0 ? nullptr : std::move(owned);
#else
  return UniqueResampler(swr_alloc_set_opts(nullptr, static_cast<int64_t>(outMask), outFormat,
                                            outRate, static_cast<int64_t>(inMask), inFormat, inRate,
                                            0, nullptr));
#endif
}

}  // namespace

UniqueResampler NewResampler(uint64_t outMask, AVSampleFormat outFormat, uint64_t inMask,
                             AVSampleFormat inFormat, int sampleRate) {
  return NewConverter(outMask, outFormat, sampleRate, inMask, inFormat, sampleRate);
}

UniqueResampler NewRateConverter(int inRate, int outRate, uint64_t mask) {
  UniqueResampler converter =
      NewConverter(mask, AV_SAMPLE_FMT_FLT, outRate, mask, AV_SAMPLE_FMT_FLT, inRate);
  if (converter == nullptr) return nullptr;
  // Twice the usual length, which leaves errors at -80 dB.
  av_opt_set_int(converter.get(), "filter_size", 64, 0);
  av_opt_set_double(converter.get(), "cutoff", 0.97, 0);
  return converter;
}

namespace {

// The values of a list that ends with `end`; none if there is no list.
template <typename Value, typename IsEnd>
std::vector<Value> Listed(const void* list, const IsEnd& isEnd) {
  std::vector<Value> all;
  if (list == nullptr) return all;
  for (const auto* value = static_cast<const Value*>(list); !isEnd(*value); ++value) {
    all.push_back(*value);
  }
  return all;
}

#if HAS_SUPPORTED_CONFIG
const void* Supported(const AVCodec* encoder, AVCodecConfig config) {
  const void* list = nullptr;
  const int result = avcodec_get_supported_config(nullptr, encoder, config, 0, &list, nullptr);
  return result < 0 ? nullptr : list;
}
#endif

}  // namespace

std::vector<int> SampleRates(const AVCodec* encoder) {
#if HAS_SUPPORTED_CONFIG
  const void* const list = Supported(encoder, AV_CODEC_CONFIG_SAMPLE_RATE);
#else
  const void* const list = encoder->supported_samplerates;
#endif
  return Listed<int>(list, [](int rate) { return rate == 0; });
}

std::vector<uint64_t> ChannelMasks(const AVCodec* encoder) {
#if HAS_CHANNEL_LAYOUT
#if HAS_SUPPORTED_CONFIG
  const void* const list = Supported(encoder, AV_CODEC_CONFIG_CHANNEL_LAYOUT);
#else
  const void* const list = encoder->ch_layouts;
#endif
  std::vector<uint64_t> masks;
  const auto isEnd = [](const AVChannelLayout& layout) { return layout.nb_channels == 0; };
  for (const AVChannelLayout& layout : Listed<AVChannelLayout>(list, isEnd)) {
    if (MaskOf(layout) != 0) masks.push_back(MaskOf(layout));
  }
  return masks;
#else
  return Listed<uint64_t>(encoder->channel_layouts, [](uint64_t mask) { return mask == 0; });
#endif
}

std::vector<AVPixelFormat> PixelFormats(const AVCodec* encoder) {
#if HAS_SUPPORTED_CONFIG
  const void* const list = Supported(encoder, AV_CODEC_CONFIG_PIX_FORMAT);
#else
  const void* const list = encoder->pix_fmts;
#endif
  return Listed<AVPixelFormat>(list, [](AVPixelFormat f) { return f == AV_PIX_FMT_NONE; });
}

std::vector<AVSampleFormat> SampleFormats(const AVCodec* encoder) {
#if HAS_SUPPORTED_CONFIG
  const void* const list = Supported(encoder, AV_CODEC_CONFIG_SAMPLE_FORMAT);
#else
  const void* const list = encoder->sample_fmts;
#endif
  return Listed<AVSampleFormat>(list, [](AVSampleFormat f) { return f == AV_SAMPLE_FMT_NONE; });
}

std::vector<AVRational> FrameRates(const AVCodec* encoder) {
#if HAS_SUPPORTED_CONFIG
  const void* const list = Supported(encoder, AV_CODEC_CONFIG_FRAME_RATE);
#else
  const void* const list = encoder->supported_framerates;
#endif
  return Listed<AVRational>(list, [](AVRational rate) { return rate.num == 0; });
}

std::string RotateText(const AVFormatContext* input, const AVStream* stream) {
  if (const AVDictionaryEntry* tag = av_dict_get(stream->metadata, "rotate", nullptr, 0)) {
    return tag->value;
  }
  // Only the MP4 demuxer of FFmpeg 4 turned a matrix into the tag.
  if (std::strstr(input->iformat->name, "mp4") == nullptr) return {};
  const int32_t* matrix = DisplayMatrix(stream);
  if (matrix == nullptr) return {};
  double degrees = -av_display_rotation_get(matrix);
  if (std::isnan(degrees)) return {};
  if (degrees < 0) degrees += 360;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%g", degrees);
  return text.data();
}

std::optional<int> MatrixOrientation(const AVStream* stream) {
  const int32_t* const matrix = DisplayMatrix(stream);
  if (matrix == nullptr) return std::nullopt;
  return OrientationOf(matrix);
}

bool KeepsRotation(const AVOutputFormat* format) { return IsMovFamily(format); }

uint8_t* NewSideData(AVStream* stream, AVPacketSideDataType type, size_t bytes) {
#if HAS_PARAMETER_SIDE_DATA
  AVPacketSideData* data = av_packet_side_data_new(
      &stream->codecpar->coded_side_data, &stream->codecpar->nb_coded_side_data, type, bytes, 0);
  return data == nullptr ? nullptr : data->data;
#else
  return av_stream_new_side_data(stream, type, bytes);
#endif
}

int CopySideData(AVStream* to, const AVStream* from) {
#if HAS_PARAMETER_SIDE_DATA
  static_cast<void>(to);
  static_cast<void>(from);
#else
  for (int i = 0; i < from->nb_side_data; ++i) {
    const AVPacketSideData& data = from->side_data[i];
    uint8_t* const bytes = av_stream_new_side_data(to, data.type, data.size);
    if (bytes == nullptr) return AVERROR(ENOMEM);
    std::copy_n(data.data, data.size, bytes);
  }
#endif
  return 0;
}

int SetRotation(const AVOutputFormat* format, AVStream* stream, const char* degrees) {
  const int result = av_dict_set(&stream->metadata, "rotate", degrees, 0);
  const int angle = std::atoi(degrees);
  if (!IsMovFamily(format) || (angle != 90 && angle != 180 && angle != 270)) return result;
  auto* const matrix = reinterpret_cast<int32_t*>(
      NewSideData(stream, AV_PKT_DATA_DISPLAYMATRIX, kDisplayMatrixBytes));
  if (matrix == nullptr) return AVERROR(ENOMEM);
  av_display_rotation_set(matrix, angle);
  // The turned picture is moved back into view: by its height, its width or both, in 16.16 fixed
  // point, which ends at 32767.
  const int32_t width = std::min(stream->codecpar->width, kLargestFixedPoint) * 65536;
  const int32_t height = std::min(stream->codecpar->height, kLargestFixedPoint) * 65536;
  matrix[6] = angle == 90 ? height : angle == 180 ? width : 0;
  matrix[7] = angle == 180 ? height : angle == 270 ? width : 0;
  return result;
}

FieldOrder FieldsOf(const AVFrame* picture) {
#if HAS_FIELD_FLAGS
  const bool isInterlaced = (picture->flags & AV_FRAME_FLAG_INTERLACED) != 0;
  const bool isTopFirst = (picture->flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0;
#else
  const bool isInterlaced = picture->interlaced_frame != 0;
  const bool isTopFirst = picture->top_field_first != 0;
#endif
  if (!isInterlaced) return FieldOrder::kProgressive;
  return isTopFirst ? FieldOrder::kTopFirst : FieldOrder::kBottomFirst;
}

void SetFields(FieldOrder order, AVFrame* picture) {
#if HAS_FIELD_FLAGS
  picture->flags &= ~(AV_FRAME_FLAG_INTERLACED | AV_FRAME_FLAG_TOP_FIELD_FIRST);
  if (IsWoven(order)) picture->flags |= AV_FRAME_FLAG_INTERLACED;
  if (order == FieldOrder::kTopFirst) picture->flags |= AV_FRAME_FLAG_TOP_FIELD_FIRST;
#else
  picture->interlaced_frame = IsWoven(order) ? 1 : 0;
  picture->top_field_first = order == FieldOrder::kTopFirst ? 1 : 0;
#endif
}

}  // namespace codec::ffmpeg
