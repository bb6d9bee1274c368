// SPDX-License-Identifier: MIT
// The log tag of the decoder: its parts speak as one class.
#pragma once

namespace codec {

constexpr char kDecoderTag[] = "codec::FFmpegDecoderImpl2";

}  // namespace codec
