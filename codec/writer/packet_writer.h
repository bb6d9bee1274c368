// SPDX-License-Identifier: MIT
// Writes the packets of another file, and encodes the sound beside them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/encoder/delayed_audio_encoder.h"
#include "codec/encoder/packet_track.h"
#include "codec/writer/media_writer.h"

namespace codec {

// Sound comes by WriteFrame, as for any writer, and is cut into frames of its encoder. Pictures
// come by WritePacket, in the order of their stamps, and never as frames. The description is the
// usual one; what it says of the encoder of pictures does not count.
class PacketWriter : public MediaWriter {
 public:
  // The pictures will be those of this stream, which has to exist until Configure has returned.
  explicit PacketWriter(const AVStream* source) : mSource(source) {}
  ~PacketWriter() override { PacketWriter::Stop(); }

  int Configure(MediaFormat& format) override;
  int Start() override { return 0; }
  void Stop() override;
  void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) override;
  // A tick of stamps in seconds, a whole part of the source's tick. After Configure.
  AVRational StampBase() const { return mPictures.StampBase(); }
  // Stamp and duration are in ticks of StampBase. The packet is left empty. What goes wrong shows
  // in OutputError.
  void WritePacket(AVPacket* packet, int64_t stamp, int64_t duration);
  int64_t GetParameter(const char* /*key*/) override { return -1; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}
  int OutputError() override { return mFile.OutputError(); }
  int64_t PicturesWritten() override { return mPictures.PacketsWritten(); }

 private:
  int Open();
  void Encode(size_t bytes);
  void Finish();

  const AVStream* const mSource;
  EncoderSettings mSettings;
  OutputFile mFile;
  PacketTrack mPictures{mSettings, &mFile};
  DelayedAudioEncoder mSound{mSettings, &mFile};
  size_t mFrameBytes = 0;         // of the sound's encoder
  std::vector<uint8_t> mSamples;  // from mTaken on not encoded yet
  size_t mTaken = 0;
};

}  // namespace codec
