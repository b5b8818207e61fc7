#include "Triplet.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace pfbench {
namespace {

std::vector<Vector> ReadVectors(const std::string& path, Size size) {
  std::ifstream file(path, std::ios::binary);
  float mark = 0;
  std::int32_t extent[2] = {};
  std::vector<Vector> vectors(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height));
  file.read(reinterpret_cast<char*>(&mark), sizeof mark);
  file.read(reinterpret_cast<char*>(extent), sizeof extent);
  if (!file || mark != 202021.25f || extent[0] != size.width || extent[1] != size.height) {
    throw std::runtime_error(path + " is no motion of that size");
  }
  file.read(reinterpret_cast<char*>(vectors.data()), static_cast<std::streamsize>(vectors.size() * sizeof(Vector)));
  if (!file) throw std::runtime_error(path + " ends early");
  return vectors;
}

bool Inside(Size size, float x, float y) {
  return x >= 0 && y >= 0 && x <= static_cast<float>(size.width - 1) && y <= static_cast<float>(size.height - 1);
}

ExactMotion ReadMotion(const std::string& folder, Size size) {
  ExactMotion motion;
  motion.vectors = ReadVectors(folder + "/flow01.flo", size);
  const Image hidden = ReadImage(folder + "/occluded.png");
  for (std::int32_t y = 0; y < size.height; ++y) {
    for (std::int32_t x = 0; x < size.width; ++x) {
      const Vector vector = motion.vectors[motion.visible.size()];
      motion.visible.push_back(hidden.at(x, y)[0] == 0 &&
                               Inside(size, static_cast<float>(x) + vector.x, static_cast<float>(y) + vector.y));
    }
  }
  return motion;
}

}  // namespace

Triplet ReadTriplet(const std::string& folder) {
  Triplet triplet = {std::filesystem::path(folder).filename().string(),
                     ReadImage(folder + "/prev.png"),
                     ReadImage(folder + "/mid.png"),
                     ReadImage(folder + "/next.png"),
                     {}};
  if (std::filesystem::exists(folder + "/flow01.flo")) triplet.motion = ReadMotion(folder, triplet.previous.size);
  return triplet;
}

double EndPointError(const Triplet& triplet, const std::function<Vector(std::int32_t x, std::int32_t y)>& found) {
  if (triplet.motion.vectors.empty()) return std::numeric_limits<double>::quiet_NaN();
  const Size size = triplet.previous.size;
  double sum = 0;
  int count = 0;
  for (std::int32_t y = 0; y < size.height; y += 2) {
    for (std::int32_t x = 0; x < size.width; x += 2) {
      const auto i = static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) + static_cast<std::size_t>(x);
      if (!triplet.motion.visible[i]) continue;
      const Vector exact = triplet.motion.vectors[i], own = found(x, y);
      sum += std::hypot(double{own.x} - exact.x, double{own.y} - exact.y);
      ++count;
    }
  }
  return sum / count;
}

}  // namespace pfbench
