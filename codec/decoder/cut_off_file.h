// SPDX-License-Identifier: MIT
// Telling whether a media file was cut off.
#pragma once

#include <string>

#include "codec/decoder/file_extent.h"

namespace codec {

// What a local file lacks by the sizes that its container tells: Matroska (WebM too), AVI, and MP4
// or MOV. Demuxers take the end of such a file for the end of the clip. A file counts as cut off
// only if packets are missing, not if an index is; a file that ends exactly between two clusters of
// Matroska may be either and does not count. Sizes that were never filled in, as in recordings that
// broke off, tell nothing, and so do fragments, whose file may still grow.
// Blank if nothing is missing, or if nobody can tell.
FileExtent ReadExtent(const std::string& path);

}  // namespace codec
