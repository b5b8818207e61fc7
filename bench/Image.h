// Pictures without alpha, as frames are compared: three channels of single precision.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Picture.h"

namespace pfbench {

struct Image {
  Size size = {};
  // Values are light: white is 1, and there may be more. Else they are stored ones, 0..255.
  bool light = false;
  std::vector<float> rgb;  // row by row

  Image() = default;
  Image(Size wanted, bool of_light);

  float* at(std::int32_t x, std::int32_t y) { return &rgb[Index(x, y)]; }
  const float* at(std::int32_t x, std::int32_t y) const { return &rgb[Index(x, y)]; }

 private:
  std::size_t Index(std::int32_t x, std::int32_t y) const {
    return 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) + static_cast<std::size_t>(x));
  }
};

// A file; without its alpha, colour as it is stored. Floats are light. Throws std::runtime_error.
Image ReadImage(const std::string& path);
// An 8-bit file, values limited. Throws std::runtime_error.
void WriteImage(const std::string& path, const Image& image);

// What of a picture is seen, 0..255: the values themselves, or of light the share v / (1 + v).
Image AsSeen(const Image& image);
// Stored values become whole ones, 0..255; light stays.
void RoundStored(Image& image);
// Means of two by two pixels.
Image Halved(const Image& image);

// Opaque pixels: 8 bits, or floats of light.
std::int32_t DepthOf(const Image& image);
void Fill(Picture& picture, const Image& image);
Image FromPicture(const Picture& picture);

}  // namespace pfbench
