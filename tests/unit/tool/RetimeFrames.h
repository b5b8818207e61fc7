// Small frames for tests of retiming: smooth pictures whose content moves to the right.
#ifndef TESTS_UNIT_TOOL_RETIMEFRAMES_H
#define TESTS_UNIT_TOOL_RETIMEFRAMES_H

#include <cmath>
#include <string>

#include "Support.h"

namespace pftest {

/// A picture of waves, moved by `shift` pixels; `scene` chooses another set of waves. Values of the type's whole range
/// but for float, 0..1. An even number of channels has alpha, the last.
inline FilePicture Waves(int width, int height, int channels, OIIO::TypeDesc type, double shift, int scene = 0) {
  FilePicture picture(width, height, channels, type);
  if (channels % 2 == 0) picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  for (std::size_t i = 0; i < picture.count(); ++i) {
    const auto pixel = static_cast<int>(i) / channels, channel = static_cast<int>(i) % channels;
    const double x = pixel % width - shift, y = pixel / width;
    double wave = 0.5 + 0.25 * std::sin(x / (5 + 7 * scene) + channel + 2 * scene) +
                  0.2 * std::sin(y / (9 - 3 * scene) + x / 11 + scene * channel);
    if (scene) wave *= wave * 0.5;
    if (type == OIIO::TypeDesc::UINT8) picture.as<std::uint8_t>()[i] = static_cast<std::uint8_t>(wave * 255);
    if (type == OIIO::TypeDesc::UINT16) picture.as<std::uint16_t>()[i] = static_cast<std::uint16_t>(wave * 65535);
    if (type == OIIO::TypeDesc::FLOAT) picture.as<float>()[i] = static_cast<float>(wave);
  }
  return picture;
}

inline FilePicture Waves8(double shift, int scene = 0) { return Waves(64, 36, 3, OIIO::TypeDesc::UINT8, shift, scene); }

/// Frames 1 to `count` as NAME.0001.png and on; from frame `cut` on another scene.
inline void WriteShot(const Folder& folder, const std::string& name, int count, int cut = 0) {
  for (int i = 1; i <= count; ++i) {
    Write(folder / (name + "." + std::to_string(10000 + i).substr(1) + ".png"),
          Waves8(1.5 * i, cut && i >= cut ? 1 : 0));
  }
}

}  // namespace pftest

#endif
