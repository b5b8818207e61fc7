#include "Image.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#ifdef PF_BENCH_PICTURE_FILES
#include <OpenImageIO/imageio.h>
#endif

namespace pfbench {

Image::Image(Size wanted, bool of_light)
    : size(wanted),
      light(of_light),
      rgb(3 * static_cast<std::size_t>(wanted.width) * static_cast<std::size_t>(wanted.height)) {}

#ifdef PF_BENCH_PICTURE_FILES

Image ReadImage(const std::string& path) {
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const auto file = OIIO::ImageInput::open(path, &config);
  if (!file) throw std::runtime_error("cannot read " + path + ": " + OIIO::geterror());
  const OIIO::ImageSpec& spec = file->spec();
  Image image({spec.width, spec.height}, spec.format.is_floating_point());
  const auto channels = static_cast<std::size_t>(spec.nchannels);
  std::vector<float> values(image.rgb.size() / 3 * channels);
  if (!file->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::FLOAT, values.data())) {
    throw std::runtime_error("cannot read " + path + ": " + file->geterror());
  }
  for (std::size_t i = 0; i < image.rgb.size(); ++i) {
    image.rgb[i] = values[i / 3 * channels + (channels < 3 ? 0 : i % 3)];  // grey is three times the same
  }
  if (!image.light) {
    for (float& value : image.rgb) value *= 255.0f;
    RoundStored(image);
  }
  return image;
}

void WriteImage(const std::string& path, const Image& image) {
  std::vector<std::uint8_t> bytes(image.rgb.size());
  std::ranges::transform(image.rgb, bytes.begin(), [](float value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 255.0f)));
  });
  const auto file = OIIO::ImageOutput::create(path);
  const OIIO::ImageSpec spec(image.size.width, image.size.height, 3, OIIO::TypeDesc::UINT8);
  if (!file || !file->open(path, spec) || !file->write_image(OIIO::TypeDesc::UINT8, bytes.data()) || !file->close()) {
    throw std::runtime_error("cannot write " + path);
  }
}

#else

Image ReadImage(const std::string&) { throw std::runtime_error("built without OpenImageIO: no picture can be read"); }
void WriteImage(const std::string&, const Image&) {
  throw std::runtime_error("built without OpenImageIO: no picture can be written");
}

#endif

Image AsSeen(const Image& image) {
  Image seen = image;
  seen.light = false;
  if (image.light) {
    for (float& value : seen.rgb) value = 255.0f * std::max(value, 0.0f) / (1.0f + std::max(value, 0.0f));
  }
  return seen;
}

void RoundStored(Image& image) {
  if (image.light) return;
  for (float& value : image.rgb) value = std::round(std::clamp(value, 0.0f, 255.0f));
}

Image Halved(const Image& image) {
  Image half({image.size.width / 2, image.size.height / 2}, image.light);
  for (std::int32_t y = 0; y < half.size.height; ++y) {
    for (std::int32_t x = 0; x < half.size.width; ++x) {
      const float* const upper = image.at(2 * x, 2 * y);
      const float* const lower = image.at(2 * x, 2 * y + 1);
      for (int c = 0; c < 3; ++c) half.at(x, y)[c] = (upper[c] + upper[c + 3] + lower[c] + lower[c + 3]) * 0.25f;
    }
  }
  return half;
}

std::int32_t DepthOf(const Image& image) { return image.light ? 32 : 8; }

void Fill(Picture& picture, const Image& image) {
  WithChannel(picture.depth(), [&](auto zero) {
    using Channel = decltype(zero);
    for (std::int32_t y = 0; y < picture.height(); ++y) {
      auto* out = picture.row<Channel>(y);
      for (std::int32_t x = 0; x < picture.width(); ++x) {
        *out++ = static_cast<Channel>(FullValue(picture.depth()));
        for (int c = 0; c < 3; ++c) *out++ = static_cast<Channel>(image.at(x, y)[c]);
      }
    }
  });
}

Image FromPicture(const Picture& picture) {
  Image image(picture.size(), picture.depth() == 32);
  WithChannel(picture.depth(), [&](auto zero) {
    using Channel = decltype(zero);
    for (std::int32_t y = 0; y < picture.height(); ++y) {
      const auto* in = picture.row<Channel>(y);
      for (std::int32_t x = 0; x < picture.width(); ++x) {
        for (int c = 0; c < 3; ++c) image.at(x, y)[c] = static_cast<float>(in[4 * x + 1 + c]);
      }
    }
  });
  return image;
}

}  // namespace pfbench
