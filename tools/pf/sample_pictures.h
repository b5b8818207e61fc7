/// \file
/// Pictures made by rule, for where none are given.
#ifndef TOOLS_PF_SAMPLE_PICTURES_H
#define TOOLS_PF_SAMPLE_PICTURES_H

#include "world.h"

namespace pftool {

/// An opaque landscape with sky, sun, hills and grain: float, straight.
WorldPtr SampleLandscape(int width, int height);
/// A coloured ball and a rainbow strip with soft edges on nothing: float, straight.
WorldPtr SampleCutOut(int width, int height);
/// A saturated colour; hue 0..1 from red through green and blue, lightness 0..1.
PF_PixelFloat HueColour(double hue, double saturation, double lightness);

}  // namespace pftool

#endif
