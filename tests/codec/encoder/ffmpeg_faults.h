// Makes chosen calls into FFmpeg fail, for the failures that no input provokes.
#pragma once

namespace codec::encoder_test {

// The calls that can be made to fail, by their names in FFmpeg.
enum class FFmpegCall {
  kFrameAlloc,      // av_frame_alloc: null
  kFrameGetBuffer,  // av_frame_get_buffer
  kNewStream,       // avformat_new_stream: null
  kSendFrame,       // avcodec_send_frame
  kReceivePacket,   // avcodec_receive_packet
  kWriteTrailer,    // av_write_trailer
  kCount
};

// While it lives, every such call after the first `passing` ones gives this error.
class FFmpegFault {
 public:
  explicit FFmpegFault(FFmpegCall call, int error = -1, int passing = 0);
  ~FFmpegFault();
  FFmpegFault(const FFmpegFault&) = delete;
  FFmpegFault& operator=(const FFmpegFault&) = delete;

 private:
  FFmpegCall mCall;
};

}  // namespace codec::encoder_test
