// SPDX-License-Identifier: MIT
#include "codec/decoder/first_failure.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {
namespace {

TEST(FirstFailure, KeepsTheFirstOfSeveral) {
  FirstFailure failure;
  EXPECT_EQ(failure.Note(AVERROR_INVALIDDATA), AVERROR_INVALIDDATA);
  EXPECT_EQ(failure.Error(), 0) << "the input's";
  failure.Keep(AVERROR(EAGAIN));
  EXPECT_EQ(failure.Note(AVERROR(ENOMEM)), AVERROR(ENOMEM));
  failure.Keep(AVERROR(EIO));
  EXPECT_EQ(failure.Error(), AVERROR(EAGAIN));
}

TEST(FirstFailure, KeepsTheFirstLackOfMemory) {
  FirstFailure failure;
  failure.Note(AVERROR(ENOMEM));
  failure.Keep(AVERROR(EAGAIN));
  EXPECT_EQ(failure.Error(), AVERROR(ENOMEM));
}

}  // namespace
}  // namespace codec
