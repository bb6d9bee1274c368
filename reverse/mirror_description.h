// SPDX-License-Identifier: MIT
// What the output of a mirror tells players of its source.
#pragma once

#include <string>
#include <vector>

#include "codec/decoder/clip_tags.h"
#include "codec/decoder/media_info.h"
#include "codec/format/media_format.h"

namespace codec {

// What a container says of pictures and sound beside them. Some of it is another thing once time
// runs backward, or once the pictures were turned. Each call adds its keys to the description.

// The turn of the pictures. `format` has the path of the output.
void DescribeOrientation(const MediaInfo& info, MediaFormat* format);
// The order of fields. Pictures that are single fields get a warning.
void DescribeFields(const MediaInfo& info, MediaFormat* format);
// Tags and languages, and these chapters, whose times are those of the output.
void DescribeTags(const ClipTags& tags, const std::vector<Chapter>& chapters, MediaFormat* format);
// The light of the pictures of the local file `path`, whose transfer has this name of FFmpeg's.
void DescribeLight(const std::string& path, const std::string& transfer, MediaFormat* format);

}  // namespace codec
