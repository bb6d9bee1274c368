// SPDX-License-Identifier: MIT
// Builds a media writer from a description of its input and output.
#pragma once

#include "codec/format/media_format.h"
#include "codec/writer/media_writer.h"

namespace codec {

// A configured writer whose output file is open, owned by the caller; null, after an error line,
// when the description is incomplete, asks for a combination of filters that does not exist, or
// names an output that cannot be opened. docs/keys.md lists the keys of a description. Pictures
// go through a chain of filters, unless the encoder takes them as they are. After an output that
// could not be opened, "output-error" in the description is FFmpeg's negative number of why.
MediaWriter* MakeMediaWriter(MediaFormat& format);

// The same, always through a chain of filters.
MediaWriter* MakeMediaWriterWithFilter(MediaFormat& format);

// The same without filters: pictures come in "output-color-format", in the size of the output.
MediaWriter* MakeMediaWriterWithoutFilter(MediaFormat& format);

}  // namespace codec
