// SPDX-License-Identifier: MIT
#include "codec/encoder/media_encoder_impl.h"

#include <map>
#include <new>
#include <string>
#include <utility>

#include "base/guarded.h"
#include "base/log.h"
#include "codec/encoder/ffmpeg_encoder_impl.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaEncoderImpl";

std::unique_ptr<FFmpegEncoder> NewImplementation() {
  try {
    return std::make_unique<FFmpegEncoderImpl>();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

MediaEncoderImpl::MediaEncoderImpl() : MediaEncoderImpl(NewImplementation()) {}

MediaEncoderImpl::MediaEncoderImpl(std::unique_ptr<FFmpegEncoder> implementation)
    : mEncoder(std::move(implementation)) {
  if (mEncoder == nullptr) log_error(kTag, "new FFmpegEncoderImpl failed");
}

MediaEncoderImpl::~MediaEncoderImpl() = default;

// What is thrown ends here, and is an error of the output.
template <typename Body>
int MediaEncoderImpl::Bordered(const Body& body) {
  return but::Guarded(kTag, body, &mThrown);
}

int MediaEncoderImpl::Configure(const MediaFormat& format) {
  return Bordered([&] { return SetParameters(format); }) == 0 ? 0 : -1;
}

int MediaEncoderImpl::SetParameters(const MediaFormat& format) {
  log_debug(kTag, "Configure");
  if (mEncoder == nullptr) {
    log_error(kTag, "Configure Error");
    return -1;
  }
  std::string libPrefix;
  std::string libName;
  format.GetString("lib-prefix", libPrefix);
  format.GetString("lib-name", libName);
  // Key order matters: "has-video" comes before "video-codec", which may revoke it.
  for (const auto& [key, value] : format.Entries()) {
    mEncoder->SetParameter(key.c_str(), value.c_str());
  }
  if (mEncoder->Init(libPrefix.c_str(), libName.c_str()) != 0) {
    log_error(kTag, "Configure Error");
    return -1;
  }
  log_debug(kTag, "Configure done");
  return 0;
}

int MediaEncoderImpl::Open() {
  return mEncoder == nullptr ? -1 : Bordered([this] { return mEncoder->Open(); });
}

void MediaEncoderImpl::Close() {
  if (mEncoder != nullptr) Bordered([this] { mEncoder->Close(); });
}

int MediaEncoderImpl::GetParameter(const char* key) {
  return mEncoder == nullptr ? -1 : Bordered([&] { return mEncoder->GetParameter(key); });
}

int MediaEncoderImpl::EncodeVideo(uint8_t* data, int ignored, int64_t ptsUs) {
  if (mEncoder == nullptr) return -1;
  return Bordered([&] { return mEncoder->EncodeVideo(data, ignored, ptsUs); });
}

int MediaEncoderImpl::EncodeAudio(uint8_t* data, size_t size) {
  if (mEncoder == nullptr) return -1;
  return Bordered([&] { return mEncoder->EncodeAudio(data, size); });
}

int MediaEncoderImpl::OutputError() const {
  if (mEncoder == nullptr) return -1;
  return mThrown.Error() != 0 ? mThrown.Error() : mEncoder->OutputError();
}

}  // namespace codec
