// SPDX-License-Identifier: MIT
// Owning handles for FFmpeg's objects. FFmpeg frees with two signatures; one deleter template for
// each keeps every alias to a line. Inputs and outputs are freed by different calls, so that they
// have aliases of their own.
#pragma once

#include <memory>
#include <utility>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec::ffmpeg {

// For `void free(T**)`, which also clears the pointer.
template <typename T, void (*Free)(T**)>
struct ClearingDeleter {
  void operator()(T* object) const { Free(&object); }
};

// For `void free(T*)`.
template <typename T, void (*Free)(T*)>
struct PlainDeleter {
  void operator()(T* object) const { Free(object); }
};

// A muxer's context owns the file that it writes to.
inline void CloseOutput(AVFormatContext* context) {
  if (context == nullptr) return;
  if (context->oformat != nullptr && (context->oformat->flags & AVFMT_NOFILE) == 0) {
    avio_closep(&context->pb);
  }
  avformat_free_context(context);
}

using UniqueInput =
    std::unique_ptr<AVFormatContext, ClearingDeleter<AVFormatContext, avformat_close_input>>;
using UniqueOutput = std::unique_ptr<AVFormatContext, PlainDeleter<AVFormatContext, CloseOutput>>;
using UniqueCodecContext =
    std::unique_ptr<AVCodecContext, ClearingDeleter<AVCodecContext, avcodec_free_context>>;
using UniqueParser =
    std::unique_ptr<AVCodecParserContext, PlainDeleter<AVCodecParserContext, av_parser_close>>;
using UniqueFrame = std::unique_ptr<AVFrame, ClearingDeleter<AVFrame, av_frame_free>>;
using UniquePacket = std::unique_ptr<AVPacket, ClearingDeleter<AVPacket, av_packet_free>>;
using UniqueBufferPool =
    std::unique_ptr<AVBufferPool, ClearingDeleter<AVBufferPool, av_buffer_pool_uninit>>;
using UniqueDictionary = std::unique_ptr<AVDictionary, ClearingDeleter<AVDictionary, av_dict_free>>;
using UniqueResampler = std::unique_ptr<SwrContext, ClearingDeleter<SwrContext, swr_free>>;
using UniqueScaler = std::unique_ptr<SwsContext, PlainDeleter<SwsContext, sws_freeContext>>;

// A frame for a picture, whose rows begin where swscale's vectors want them. Null if there is no
// memory, or the size or the format does not serve.
inline UniqueFrame NewPicture(AVPixelFormat format, int width, int height) {
  UniqueFrame frame(av_frame_alloc());
  if (frame == nullptr) return nullptr;
  frame->format = format;
  frame->width = width;
  frame->height = height;
  return av_frame_get_buffer(frame.get(), 0) < 0 ? nullptr : std::move(frame);
}

// Unreferences a packet when the scope is left, on every path of a loop body.
class PacketGuard {
 public:
  explicit PacketGuard(AVPacket* packet) : mPacket(packet) {}
  ~PacketGuard() { av_packet_unref(mPacket); }
  PacketGuard(const PacketGuard&) = delete;
  PacketGuard& operator=(const PacketGuard&) = delete;

 private:
  AVPacket* mPacket;
};

// The same for a frame.
class FrameGuard {
 public:
  explicit FrameGuard(AVFrame* frame) : mFrame(frame) {}
  ~FrameGuard() { av_frame_unref(mFrame); }
  FrameGuard(const FrameGuard&) = delete;
  FrameGuard& operator=(const FrameGuard&) = delete;

 private:
  AVFrame* mFrame;
};

// Lets a frame refer to bytes of somebody else's while the scope lasts. FFmpeg then passes on the
// frame as it is, where it would else copy it whole: only for those that have done with the bytes
// by the end of the scope. Where there is no memory for it, the frame refers to nothing.
class LentBytes {
 public:
  LentBytes(AVFrame* frame, const uint8_t* bytes, int size) : mFrame(frame) {
    constexpr auto keep = [](void* /*opaque*/, uint8_t* /*bytes*/) {};
    frame->buf[0] =
        av_buffer_create(const_cast<uint8_t*>(bytes), size, keep, nullptr, AV_BUFFER_FLAG_READONLY);
  }
  ~LentBytes() { av_buffer_unref(&mFrame->buf[0]); }
  LentBytes(const LentBytes&) = delete;
  LentBytes& operator=(const LentBytes&) = delete;

 private:
  AVFrame* mFrame;
};

}  // namespace codec::ffmpeg
