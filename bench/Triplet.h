// Three frames whose middle one is known, and what is known of their motion.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Image.h"

namespace pfbench {

struct Vector {
  float x, y;
};

// The exact motion from the previous frame to the next, in pixels, row by row; empty where it is not known.
struct ExactMotion {
  std::vector<Vector> vectors;
  std::vector<bool> visible;  // in both frames
};

struct Triplet {
  std::string name;
  Image previous, middle, next;
  ExactMotion motion;
};

// Reads prev.png, mid.png and next.png of a folder, and flow01.flo (Middlebury's format) and occluded.png (not black:
// hidden in the next frame) where they are. The name is the folder's. Throws std::runtime_error.
Triplet ReadTriplet(const std::string& folder);

// The mean length of the difference between exact and found motion, over every second pixel of every second row that
// is visible in both frames. Not a number where the exact motion is not known.
double EndPointError(const Triplet& triplet, const std::function<Vector(std::int32_t x, std::int32_t y)>& found);

}  // namespace pfbench
