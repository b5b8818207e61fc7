/// \file
/// Motion fields as files.
#ifndef TOOLS_PF_RETIME_MOTION_PICTURE_H
#define TOOLS_PF_RETIME_MOTION_PICTURE_H

#include <string>
#include <vector>

#include "PF/PF_FrameBlending.h"
#include "picture.h"

namespace pftool {

/// A motion for every pixel of a frame, row by row: from it to where its content is in the next frame.
struct MotionField {
  int width = 0, height = 0;
  std::vector<PF_MotionVector> vectors;
};

/// The motion at every pixel of a frame of that size, between the found ones by bilinear interpolation.
MotionField FieldOf(const PF_TavrosCache_Stuff& motion, int width, int height);

/// Whether a name means vectors as numbers.
bool IsFlowName(const std::string& path);

/// Writes a field whole or not at all. A name that ends in ".flo" gets the four characters "PIEH", the width and the
/// height as 32-bit integers and the motion to the right and downwards of each pixel as floats, all with the least
/// significant byte first. Others become an 8-bit picture: the hue is the direction (red to the right, then over
/// yellow-green downwards), the saturation the length, full at the field's longest motion.
/// \throws Failure 64, 73, 74.
void WriteMotion(const MotionField& field, const std::string& path, bool overwrite, Reporter* reporter);

}  // namespace pftool

#endif
