#include "tests/codec/encoder/ffmpeg_faults.h"

#include <dlfcn.h>

#include <array>
#include <atomic>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec::encoder_test {
namespace {

// Other tests call these functions from several threads at once.
struct Fault {
  std::atomic<int> error{0};
  std::atomic<int> passing{0};
};

std::array<Fault, static_cast<size_t>(FFmpegCall::kCount)> gFaults;

Fault& Of(FFmpegCall call) { return gFaults[static_cast<size_t>(call)]; }

// The error that this call must give; 0 when it goes on to FFmpeg.
int ErrorOf(FFmpegCall call) {
  Fault& fault = Of(call);
  const int error = fault.error;
  if (error == 0) return 0;
  return fault.passing-- > 0 ? 0 : error;
}

}  // namespace

FFmpegFault::FFmpegFault(FFmpegCall call, int error, int passing) : mCall(call) {
  Of(call).passing = passing;
  Of(call).error = error;
}

FFmpegFault::~FFmpegFault() { Of(mCall).error = 0; }

}  // namespace codec::encoder_test

namespace {

using codec::encoder_test::ErrorOf;
using codec::encoder_test::FFmpegCall;

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// A definition in the program comes before that of a shared library.
extern "C" {

AVFrame* av_frame_alloc(void) {
  static auto* const next = Next<decltype(av_frame_alloc)>("av_frame_alloc");
  return ErrorOf(FFmpegCall::kFrameAlloc) != 0 ? nullptr : next();
}

int av_frame_get_buffer(AVFrame* frame, int align) {
  static auto* const next = Next<decltype(av_frame_get_buffer)>("av_frame_get_buffer");
  const int error = ErrorOf(FFmpegCall::kFrameGetBuffer);
  return error != 0 ? error : next(frame, align);
}

AVStream* avformat_new_stream(AVFormatContext* context, const AVCodec* codec) {
  static auto* const next = Next<decltype(avformat_new_stream)>("avformat_new_stream");
  return ErrorOf(FFmpegCall::kNewStream) != 0 ? nullptr : next(context, codec);
}

int avcodec_send_frame(AVCodecContext* context, const AVFrame* frame) {
  static auto* const next = Next<decltype(avcodec_send_frame)>("avcodec_send_frame");
  const int error = ErrorOf(FFmpegCall::kSendFrame);
  return error != 0 ? error : next(context, frame);
}

int avcodec_receive_packet(AVCodecContext* context, AVPacket* packet) {
  static auto* const next = Next<decltype(avcodec_receive_packet)>("avcodec_receive_packet");
  const int error = ErrorOf(FFmpegCall::kReceivePacket);
  return error != 0 ? error : next(context, packet);
}

int av_write_trailer(AVFormatContext* context) {
  static auto* const next = Next<decltype(av_write_trailer)>("av_write_trailer");
  const int error = ErrorOf(FFmpegCall::kWriteTrailer);
  return error != 0 ? error : next(context);
}

}  // extern "C"
