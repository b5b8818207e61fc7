// Frames drawn with exactly known motion: layers of photographs with sharp or soft outlines, each on its own course,
// before a camera that may move too. The middle frame is drawn like the others, so it has no noise of a codec.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Triplet.h"

namespace pfbench {

// x' = a x + b y + c, y' = d x + e y + f.
struct Affine {
  double a, b, c, d, e, f;
  // First `other`, then this.
  Affine After(const Affine& other) const;
  Affine Inverse() const;
  void Apply(double& x, double& y) const;
};

// Where something is at a time from 0 (previous frame) to 1 (next): its middle, how far it is turned, how large it is.
struct Course {
  double x, y, speed_x, speed_y;       // pixels
  double angle = 0, turn = 0;          // radians, from right to down
  double log_scale = 0, log_grow = 0;  // natural logarithms

  // From its own coordinates, whose origin is its middle, to those it moves in.
  Affine At(double time) const;
};

// Coverage, 0..1, at a place of a layer.
using Outline = std::function<float(float x, float y)>;

struct Layer {
  std::shared_ptr<const Image> picture;  // centred in the layer, mirrored beyond its edges
  Outline outline;
  Course course;
};

class Scene {
 public:
  // \param camera the course of the frame's middle seen from the camera: everything moves and turns with it.
  Scene(std::string name, Size size, const Course& camera) : name_(std::move(name)), size_(size), camera_(camera) {}

  // The first layer lies behind all others.
  void Add(Layer layer) { layers_.push_back(std::move(layer)); }
  // Noise of this deviation on the previous and the next frame, not on the true middle one.
  void AddGrain(float deviation) { grain_ = deviation; }

  Triplet Draw() const;

 private:
  std::vector<Affine> LayersFromFrame(double time) const;
  Image DrawFrame(double time) const;
  void Scatter(Image& frame, std::uint32_t seed) const;
  int Topmost(const std::vector<Affine>& from_frame, double x, double y) const;
  ExactMotion Motion() const;

  std::string name_;
  Size size_;
  Course camera_;
  std::vector<Layer> layers_;
  float grain_ = 0;
};

// The scenes of the benchmark, drawn one after the other. `photos` is the folder of the photographs.
struct SceneMaker {
  std::string name;
  std::function<Scene(const std::string& name, const std::string& photos)> make;
};
const std::vector<SceneMaker>& SceneMakers();

}  // namespace pfbench
