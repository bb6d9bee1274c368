// SPDX-License-Identifier: MIT
// Reverses a clip through the library and prints what the result holds: outside INPUT OUTPUT
#include <base/log.h>
#include <codec/decoder/ffmpeg_decoder_impl2.h>
#include <codec/ffmpeg/log_bridge.h>
#include <codec/ffmpeg/versions.h>
#include <reverse/reverse.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace {

int Reverse(const char* input, const char* output) {
  codec::Reverse job(input, 0, 0, output);
  job.SetOutputParameter("preset", "ultrafast");
  if (job.Init() != 0 || job.Start() != 0) return -1;
  while (job.GetProgress() < 100) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  job.Release();
  return job.Result();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  codec::ffmpeg::InstallLogBridge();
  log_set_level(kLogError);
  if (codec::ffmpeg::CheckVersions(codec::ffmpeg::LibraryVersions()) != 0) return 1;
  if (Reverse(argv[1], argv[2]) != 0) return 1;

  codec::FFmpegDecoderImpl2 decoder(argv[2]);
  codec::MediaInfo info;
  if (decoder.Init() != 0 || decoder.GetMediaInfo(info) != 0) return 1;
  std::printf("%dx%d, %.0f s, %s sound\n", info.width, info.height,
              static_cast<double>(info.duration), info.has_audio != 0 ? "with" : "without");
  return 0;
}
