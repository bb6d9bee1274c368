// SPDX-License-Identifier: MIT
// Every difference between the FFmpeg releases that the system builds on (4.3 and newer), each as a
// function that says what it does. No other file of the tree looks at FFmpeg's version.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/ffmpeg/error_text.h"
#include "codec/ffmpeg/owned.h"
#include "codec/utils/field_order.h"

namespace codec::ffmpeg {

// Decoding.

// A context for the stream's decoder, not opened yet; null when memory runs out or the stream's
// parameters are unusable. `pkt_timebase` stays unset on purpose: with it, newer releases move the
// first audio stamp past the encoder's priming and older ones do not.
UniqueCodecContext NewDecoder(const AVStream* stream, const AVCodec* codec);

// To be called before `avcodec_send_packet`, so that FramePacketSize can answer.
void TagPacket(AVPacket* packet);
// Bytes of the compressed packet that a decoded frame came from.
int FramePacketSize(const AVFrame* frame);

// How many packets late an opened decoder answers because it decodes several at once.
int PacketsLate(const AVCodecContext* context);

// Decodes one packet in one call. A packet of size 0 drains one delayed frame. `*gotFrame` becomes
// 1 when `frame` holds a frame. Where a packet gives several frames, video keeps the first and
// audio the last; `spare` is a scratch frame for that. Returns the bytes consumed, always the whole
// packet, or a negative error.
int DecodeOne(AVCodecContext* context, AVFrame* frame, AVFrame* spare, int* gotFrame,
              AVPacket* packet);

// To be called for each frame of sound of a decoder that has `pkt_timebase`: sees to it that
// `best_effort_timestamp` is the stamp of the first sample. Older releases leave it at the packet's
// stamp if samples at the start were trimmed.
void StampFirstSample(AVFrame* frame);

// How long the frame lasts by its packet, in ticks; 0 if unknown.
int64_t Duration(const AVFrame* frame);
void SetDuration(AVFrame* frame, int64_t ticks);

// Fields of a frame count as two ticks of the codec's time base for the field-coded codecs.
int TicksPerFrame(AVCodecID id);
// Time base of the stream's opened decoder: 1 / (frame rate x ticks per frame).
AVRational CodecTimeBase(const AVStream* stream);
// The lowest rate that can represent all time stamps of the stream exactly.
AVRational RealBaseRate(const AVStream* stream);

// Demuxing.

// Stamp of the last key entry at or before `ticks` in the index that the demuxer has of the stream
// so far; AV_NOPTS_VALUE when there is none.
int64_t IndexedAtOrBefore(AVStream* stream, int64_t ticks);

// Where in the file the last packet of that index ends, in bytes; 0 if there is no index.
int64_t IndexedBytes(AVStream* stream);

// Encoding and muxing.

// Encodes one picture in one call; `*gotPacket` becomes 1 when `packet` holds a packet, whose
// duration is then at least one encoder tick (without it an MP4 loses the duration of its last
// picture). Returns 0 or a negative error. Never called to drain.
int EncodeOne(AVCodecContext* context, AVPacket* packet, const AVFrame* frame, int* gotPacket);

// A muxer context for `path` with `format` attached, its private data allocated and at its
// defaults; null when memory runs out.
UniqueOutput NewMuxer(const AVOutputFormat* format, const char* path);

// The codec that `format` holds unless told otherwise. For numbered pictures `path` decides.
AVCodecID UsualCodec(const AVOutputFormat* format, const char* path, AVMediaType kind);

// Channels.

int Channels(const AVCodecContext* context);
int Channels(const AVFrame* frame);
int Channels(const AVCodecParameters* parameters);
// The 64-bit mask of the layout; 0 when there is none.
uint64_t ChannelMask(const AVCodecContext* context);
uint64_t ChannelMask(const AVFrame* frame);
// FFmpeg's layout for a channel count; 0 when it has none.
uint64_t DefaultChannelMask(int channels);
// A mask of so many channels that stands for places that nobody knows; 0 for more than a mask
// names.
uint64_t AnyChannelMask(int channels);
// Gives the context FFmpeg's layout for a channel count.
void SetDefaultLayout(AVCodecContext* context, int channels);
// Gives the context a layout; the default one if the mask does not name so many channels.
void SetLayout(AVCodecContext* context, int channels, uint64_t mask);
// FFmpeg's name of a layout, for people.
std::string LayoutName(int channels, uint64_t mask);
// Gives the frame the context's layout. 0 or a negative error.
int CopyLayout(AVFrame* frame, const AVCodecContext* context);
// A converter between two layouts and sample formats at one sample rate, not initialised yet; null
// when a mask or memory does not serve.
UniqueResampler NewResampler(uint64_t outMask, AVSampleFormat outFormat, uint64_t inMask,
                             AVSampleFormat inFormat, int sampleRate);
// A converter of packed floats of one layout between two sample rates, not initialised yet, whose
// errors are inaudible; null when a rate, the mask or memory does not serve.
UniqueResampler NewRateConverter(int inRate, int outRate, uint64_t mask);
// The sample rates that an encoder takes; none if it takes any.
std::vector<int> SampleRates(const AVCodec* encoder);
// The masks of the layouts that it takes; none if it does not say.
std::vector<uint64_t> ChannelMasks(const AVCodec* encoder);
// The same as SampleRates for its sample formats.
std::vector<AVSampleFormat> SampleFormats(const AVCodec* encoder);

// Pictures.

// The pixel formats that an encoder takes, and its frame rates; none if it takes any.
std::vector<AVPixelFormat> PixelFormats(const AVCodec* encoder);
std::vector<AVRational> FrameRates(const AVCodec* encoder);

// Rotation.

// The clockwise turn that a demuxed stream asks of its player, in degrees as text ("" when none):
// its "rotate" tag, or the text that FFmpeg 4 made of the display matrix of an MP4.
std::string RotateText(const AVFormatContext* input, const AVStream* stream);
// What the display matrix of a demuxed stream asks for, as a number of utils/orientation.h; 0 for
// what is no such number; nothing where there is no matrix.
std::optional<int> MatrixOrientation(const AVStream* stream);
// Bytes that stand beside a stream, for its container: owned by the stream, replacing those of this
// type; null when memory runs out. To be called after `avcodec_parameters_from_context`, which
// wipes them on newer releases.
uint8_t* NewSideData(AVStream* stream, AVPacketSideDataType type, size_t bytes);
// Gives a stream that is going to be muxed what stands beside a demuxed one: its display matrix,
// the light of its pictures. To be called after `avcodec_parameters_copy`, which does so on newer
// releases. 0 or a negative error.
int CopySideData(AVStream* to, const AVStream* from);
// Whether a file of this format keeps the turn that SetRotation asks for.
bool KeepsRotation(const AVOutputFormat* format);
// Makes a stream that is going to be muxed ask for this turn. To be called after
// `avcodec_parameters_from_context`, which wipes the display matrix on newer releases. 0 or a
// negative error.
int SetRotation(const AVOutputFormat* format, AVStream* stream, const char* degrees);

// Fields.

// What a decoded picture says of its fields; never FieldOrder::kSingle.
FieldOrder FieldsOf(const AVFrame* picture);
// Says it of a picture that is going to be encoded.
void SetFields(FieldOrder order, AVFrame* picture);

}  // namespace codec::ffmpeg
