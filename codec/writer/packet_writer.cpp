// SPDX-License-Identifier: MIT
#include "codec/writer/packet_writer.h"

#include <algorithm>

#include "base/guarded.h"
#include "base/log.h"
#include "codec/utils/frame_type.h"
#include "codec/utils/image_utils.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::PacketWriter";

}  // namespace

int PacketWriter::Configure(MediaFormat& format) {
  return but::Guarded(kTag, [&] {
    for (const auto& [key, value] : format.Entries()) {
      mSettings.SetParameter(key.c_str(), value.c_str());
    }
    // The file need not be read before it is whole, so nothing has to be moved to its front.
    const int result = mFile.Create(mSettings.outputPath, {}, mSettings.writePath);
    return result == 0 ? Open() : result;
  });
}

int PacketWriter::Open() {
  if (mSettings.hasEvenSlots) mFile.KeepSlotsEven();
  if (mPictures.Create(mSource) != 0) return -1;
  if (mSettings.hasAudio) {
    if (mSound.Create({}) != 0) return -1;
    mFrameBytes = static_cast<size_t>(BytesPerSample(mSettings.sampleFormat)) *
                  static_cast<size_t>(mSettings.channelCount) *
                  static_cast<size_t>(mSound.UsualFrameSize());
  }
  mFile.Tag(mSettings);
  mFile.StampMetadata();
  return mFile.OpenFileAndWriteHeader();
}

void PacketWriter::WriteFrame(int type, uint8_t* data, uint32_t size, int64_t /*pts*/) {
  const int result = but::Guarded(kTag, [&] {
    if (type != static_cast<int>(kAudioFrame) || mFrameBytes == 0) return;
    mSamples.insert(mSamples.end(), data, data + size);
    while (mSamples.size() - mTaken >= mFrameBytes) Encode(mFrameBytes);
    mSamples.erase(mSamples.begin(), mSamples.begin() + static_cast<std::ptrdiff_t>(mTaken));
    mTaken = 0;
  });
  mFile.Remember(result);
}

// A failure is kept by the file.
void PacketWriter::Encode(size_t bytes) {
  mSound.Encode(mSamples.data() + mTaken, bytes);
  mTaken += bytes;
}

void PacketWriter::WritePacket(AVPacket* packet, int64_t stamp, int64_t duration) {
  mPictures.Write(packet, stamp, duration);
}

void PacketWriter::Stop() {
  if (!mFile.Exists()) return;
  mFile.Remember(but::Guarded(kTag, [this] { Finish(); }));
  mSound.Close();
  mFile.Close();
}

void PacketWriter::Finish() {
  if (mFile.HeaderWritten() && mFrameBytes > 0) {
    if (mSamples.size() > mTaken) Encode(mSamples.size() - mTaken);
    mSound.Drain();
  }
  mFile.WriteTrailer();
}

}  // namespace codec
