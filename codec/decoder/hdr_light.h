// SPDX-License-Identifier: MIT
// How bright the pictures of a clip of high dynamic range may be.
#pragma once

#include <string>

namespace codec {

// As x265 writes it; empty if the clip does not tell.
struct HdrLight {
  // Of the screen that the clip was made on: "G(x,y)B(x,y)R(x,y)WP(x,y)L(most,least)", chromaticity
  // in 0.00002, luminance in 0.0001 cd/m2.
  std::string masteringDisplay;
  std::string contentLight;  // of its brightest pixel and picture, in cd/m2: "1000,400"
};

// Decodes the first picture of a local file, which alone tells it in most containers. A file that
// cannot be read tells nothing.
HdrLight ReadHdrLight(const std::string& path);

}  // namespace codec
