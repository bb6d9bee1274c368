// SPDX-License-Identifier: MIT
#include "codec/decoder/source_form.h"

#include "base/local_file.h"
#include "codec/decoder/sound_choice.h"
#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/file_url.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

SourceForm ReadSourceForm(const std::string& path) {
  SourceForm form;
  const std::string local = but::LocalPath(path);
  // To open a pipe would take its bytes away.
  if (but::WhyNotSeekable(local) != nullptr) return form;
  AVFormatContext* opened = nullptr;
  if (avformat_open_input(&opened, ffmpeg::FileUrl(local).c_str(), nullptr, nullptr) < 0) {
    return form;
  }
  const ffmpeg::UniqueInput file(opened);
  if (avformat_find_stream_info(file.get(), nullptr) < 0) return form;
  const int video = av_find_best_stream(file.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  const int sound = FirstDecodableSound(file.get(), video);
  if (video >= 0) {
    const AVStream* const stream = file->streams[video];
    const AVCodecParameters& parameters = *stream->codecpar;
    form.video = parameters.codec_id;
    form.profile = parameters.profile;
    form.format = static_cast<AVPixelFormat>(parameters.format);
    form.width = parameters.width;
    form.height = parameters.height;
    form.frameRate = stream->avg_frame_rate;
    form.videoBitRate = parameters.bit_rate;
  }
  if (sound >= 0) {
    const AVCodecParameters& parameters = *file->streams[sound]->codecpar;
    form.sound = parameters.codec_id;
    form.soundBitRate = parameters.bit_rate;
    form.channels = ffmpeg::Channels(&parameters);
  }
  return form;
}

}  // namespace codec
