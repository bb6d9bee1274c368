// SPDX-License-Identifier: MIT
#include "codec/utils/sound_resampler.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/log.h"
#include "codec/ffmpeg/compat_channels.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::SoundResampler";

}  // namespace

int SoundResampler::Open(int inRate, int outRate, const SoundLayout& layout) {
  mOutRate = outRate;
  mChannels = static_cast<size_t>(layout.channels);
  // Rates do not depend on places.
  mMask = layout.mask != 0 ? layout.mask : ffmpeg::AnyChannelMask(layout.channels);
  mOwed = 0;
  return Begin(inRate) < 0 ? -1 : 0;
}

int SoundResampler::Begin(int inRate) {
  mInRate = inRate;
  mTaken = 0;
  mGiven = 0;
  mContext.reset();
  const bool passes = PassesThrough() && inRate > 0;
  if (!passes) mContext = ffmpeg::NewRateConverter(inRate, mOutRate, mMask);
  const int created = passes || mContext != nullptr ? 0 : AVERROR(ENOMEM);
  const int result = created == 0 && !passes ? swr_init(mContext.get()) : created;
  mIsReady = result >= 0;
  if (!mIsReady) log_error(kTag, "no way from %d Hz to %d Hz", inRate, mOutRate);
  return result;
}

int SoundResampler::ChangeInputRate(int inRate, std::vector<float>* out) {
  const double whole = Whole();
  Finish(out);
  mOwed = whole - static_cast<double>(mGiven);
  return mFailure.Keep(Begin(inRate));
}

double SoundResampler::Whole() const {
  return mIsReady ? static_cast<double>(mTaken) * mOutRate / mInRate + mOwed : mOwed;
}

int SoundResampler::Convert(const float* samples, int64_t count, std::vector<float>* out) {
  out->clear();
  if (!mIsReady || count > std::numeric_limits<int>::max()) return AVERROR(EINVAL);
  if (count <= 0) return 0;
  mTaken += count;
  if (mContext == nullptr) {
    out->assign(samples, samples + static_cast<size_t>(count) * mChannels);
    mGiven += count;
    return 0;
  }
  return Run(samples, static_cast<int>(count), out);
}

int SoundResampler::Finish(std::vector<float>* out) {
  out->clear();
  if (!mIsReady) return AVERROR(EINVAL);
  const int64_t before = mGiven;
  const int64_t left = std::max<int64_t>(std::llround(Whole()) - before, 0);
  const int result = left == 0 || mContext == nullptr ? 0 : Run(nullptr, 0, out);
  mGiven = before + left;
  out->resize(static_cast<size_t>(left) * mChannels);
  return result;
}

int SoundResampler::Run(const float* samples, int count, std::vector<float>* out) {
  const int room = swr_get_out_samples(mContext.get(), count);
  if (room < 0) return room;
  out->resize(static_cast<size_t>(room) * mChannels);
  auto* to = reinterpret_cast<uint8_t*>(out->data());
  const auto* from = reinterpret_cast<const uint8_t*>(samples);
  const int given = mFailure.Keep(
      swr_convert(mContext.get(), &to, room, samples == nullptr ? nullptr : &from, count));
  out->resize(static_cast<size_t>(std::max(given, 0)) * mChannels);
  if (given < 0) return given;
  mGiven += given;
  return 0;
}

}  // namespace codec
