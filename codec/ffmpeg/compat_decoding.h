// SPDX-License-Identifier: MIT
// Reading and decoding, the same on every FFmpeg release.
#pragma once

#include <cstdint>
#include <vector>

#include "codec/ffmpeg/owned.h"

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

// The stamps of the packets that this index places outside of a file of so many bytes, although a
// later one lies inside. In ticks of the stream.
std::vector<int64_t> IndexedOutside(AVStream* stream, int64_t bytes);

}  // namespace codec::ffmpeg
