// SPDX-License-Identifier: MIT
#include "codec/utils/sound_resampler.h"

#include <algorithm>
#include <limits>

#include "base/log.h"
#include "codec/ffmpeg/compat.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::SoundResampler";
constexpr size_t kChannels = 2;

}  // namespace

int SoundResampler::Open(int inRate, int outRate) {
  mInRate = inRate;
  mOutRate = outRate;
  mTaken = 0;
  mGiven = 0;
  mContext = ffmpeg::NewRateConverter(inRate, outRate);
  if (mContext != nullptr && swr_init(mContext.get()) >= 0) return 0;
  mContext.reset();
  log_error(kTag, "no way from %d Hz to %d Hz", inRate, outRate);
  return -1;
}

int SoundResampler::Convert(const float* samples, int64_t count, std::vector<float>* out) {
  out->clear();
  if (mContext == nullptr || count > std::numeric_limits<int>::max()) return AVERROR(EINVAL);
  if (count <= 0) return 0;
  mTaken += count;
  return Run(samples, static_cast<int>(count), out);
}

int SoundResampler::Finish(std::vector<float>* out) {
  out->clear();
  if (mContext == nullptr) return AVERROR(EINVAL);
  const int64_t whole = av_rescale_rnd(mTaken, mOutRate, mInRate, AV_ROUND_NEAR_INF);
  const int64_t left = std::max<int64_t>(whole - mGiven, 0);
  const int result = left == 0 ? 0 : Run(nullptr, 0, out);
  mGiven = std::max(whole, mGiven);
  out->resize(static_cast<size_t>(left) * kChannels);
  return result;
}

int SoundResampler::Run(const float* samples, int count, std::vector<float>* out) {
  const int room = swr_get_out_samples(mContext.get(), count);
  if (room < 0) return room;
  out->resize(static_cast<size_t>(room) * kChannels);
  auto* to = reinterpret_cast<uint8_t*>(out->data());
  const auto* from = reinterpret_cast<const uint8_t*>(samples);
  const int given = mFailure.Keep(
      swr_convert(mContext.get(), &to, room, samples == nullptr ? nullptr : &from, count));
  out->resize(static_cast<size_t>(std::max(given, 0)) * kChannels);
  if (given < 0) return given;
  mGiven += given;
  return 0;
}

}  // namespace codec
