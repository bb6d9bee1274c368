// Builds a media writer from a description of its input and output.
#pragma once

#include "codec/format/media_format.h"
#include "codec/writer/media_writer.h"

namespace codec {

// A configured writer whose output file is open, owned by the caller; null, after an error line,
// when the description is incomplete, asks for a combination of filters that does not exist, or
// names an output that cannot be opened.
MediaWriter* MakeMediaWriter(MediaFormat& format);

// The same with the way chosen by the caller: through a chain of picture filters, or without one.
MediaWriter* MakeMediaWriterWithFilter(MediaFormat& format);
MediaWriter* MakeMediaWriterWithoutFilter(MediaFormat& format);

}  // namespace codec
