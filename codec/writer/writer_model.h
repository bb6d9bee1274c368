// SPDX-License-Identifier: MIT
// Which filter chain a writer needs, by what must change between its input and its output.
#pragma once

#include "codec/filter/media_filter.h"
#include "codec/format/media_format.h"

namespace codec {

struct WriterModel {
  int number;
  const char* name;
  // Builds the chain; null for a model that cannot be built.
  MediaFilter* (*make)(MediaFormat& format);
};

// Chooses by the two sizes, "rotation" and "has-water-mark". At equal sizes rotation is not looked
// at. With "scale-any-format" 1, pictures in an "input-color-format" that is not resized itself are
// converted first.
int ChooseWriterModel(const MediaFormat& format);

// The row of this number; for any other number a row that cannot be built, with that number.
WriterModel FindWriterModel(int number);

}  // namespace codec
