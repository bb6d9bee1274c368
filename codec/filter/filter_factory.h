// Builds configured chains of picture filters.
#pragma once

#include "codec/filter/media_filter.h"
#include "codec/format/media_format.h"

namespace codec {

// Each returns the head of a new chain, owned by the caller, or null after an error line; a chain
// built in part is deleted. The format is only read.
MediaFilter* CreateColorFilter(MediaFormat& format);

}  // namespace codec
