#include "Scenes.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace pfbench {
namespace {

constexpr int kSamples = 3;  // of a pixel, along each direction

int Mirrored(int i, int count) {
  i %= 2 * count;
  if (i < 0) i += 2 * count;
  return i < count ? i : 2 * count - 1 - i;
}

struct Colour {
  float rgb[3];
};

Colour Fetch(const Image& image, float x, float y) {
  const float left = std::floor(x), top = std::floor(y);
  const float across = x - left, down = y - top;
  const int x0 = Mirrored(static_cast<int>(left), image.size.width);
  const int x1 = Mirrored(static_cast<int>(left) + 1, image.size.width);
  const int y0 = Mirrored(static_cast<int>(top), image.size.height);
  const int y1 = Mirrored(static_cast<int>(top) + 1, image.size.height);
  Colour colour;
  for (int c = 0; c < 3; ++c) {
    const float upper = image.at(x0, y0)[c] * (1 - across) + image.at(x1, y0)[c] * across;
    const float lower = image.at(x0, y1)[c] * (1 - across) + image.at(x1, y1)[c] * across;
    colour.rgb[c] = upper * (1 - down) + lower * down;
  }
  return colour;
}

Colour FetchFromMiddle(const Image& image, double x, double y) {
  return Fetch(image, static_cast<float>(x) + static_cast<float>(image.size.width - 1) * 0.5f,
               static_cast<float>(y) + static_cast<float>(image.size.height - 1) * 0.5f);
}

}  // namespace

Affine Affine::After(const Affine& other) const {
  return {a * other.a + b * other.d, a * other.b + b * other.e, a * other.c + b * other.f + c,
          d * other.a + e * other.d, d * other.b + e * other.e, d * other.c + e * other.f + f};
}

Affine Affine::Inverse() const {
  const double k = 1 / (a * e - b * d);
  return {e * k, -b * k, (b * f - e * c) * k, -d * k, a * k, (d * c - a * f) * k};
}

void Affine::Apply(double& x, double& y) const {
  const double old_x = x;
  x = a * old_x + b * y + c;
  y = d * old_x + e * y + f;
}

Affine Course::At(double time) const {
  const double scale = std::exp(log_scale + time * log_grow);
  const double cosine = scale * std::cos(angle + time * turn), sine = scale * std::sin(angle + time * turn);
  return {cosine, -sine, x + time * speed_x, sine, cosine, y + time * speed_y};
}

std::vector<Affine> Scene::LayersFromFrame(double time) const {
  const double x = (size_.width - 1) * 0.5, y = (size_.height - 1) * 0.5;
  const Affine to_middle = {1, 0, -x, 0, 1, -y}, to_corner = {1, 0, x, 0, 1, y};
  const Affine camera = to_corner.After(camera_.At(time)).After(to_middle);
  std::vector<Affine> maps;
  for (const Layer& layer : layers_) maps.push_back(camera.After(layer.course.At(time)).Inverse());
  return maps;
}

Image Scene::DrawFrame(double time) const {
  const std::vector<Affine> from_frame = LayersFromFrame(time);
  Image frame(size_, layers_.front().picture->light);
  for (std::int32_t y = 0; y < size_.height; ++y) {
    for (std::int32_t x = 0; x < size_.width; ++x) {
      float* const out = frame.at(x, y);
      for (int sample = 0; sample < kSamples * kSamples; ++sample) {
        Colour colour = {};
        for (std::size_t i = 0; i < layers_.size(); ++i) {
          double u = x + (sample % kSamples + 0.5) / kSamples - 0.5, v = y + (sample / kSamples + 0.5) / kSamples - 0.5;
          from_frame[i].Apply(u, v);
          const float coverage = layers_[i].outline(static_cast<float>(u), static_cast<float>(v));
          if (coverage <= 0) continue;
          const Colour laid = FetchFromMiddle(*layers_[i].picture, u, v);
          for (int c = 0; c < 3; ++c) colour.rgb[c] += coverage * (laid.rgb[c] - colour.rgb[c]);
        }
        for (int c = 0; c < 3; ++c) out[c] += colour.rgb[c] / (kSamples * kSamples);
      }
    }
  }
  return frame;
}

// Half of the noise is common to the three channels.
void Scene::Scatter(Image& frame, std::uint32_t seed) const {
  if (grain_ == 0) return;
  std::mt19937 generator(seed);
  const auto noise = [&] {  // nearly normal, deviation 1
    double sum = 0;
    for (int i = 0; i < 12; ++i) sum += static_cast<double>(generator()) * 0x1p-32;
    return static_cast<float>(sum - 6);
  };
  for (std::size_t i = 0; i < frame.rgb.size(); i += 3) {
    const float common = noise();
    for (std::size_t c = 0; c < 3; ++c) frame.rgb[i + c] += grain_ * std::sqrt(0.5f) * (common + noise());
  }
}

int Scene::Topmost(const std::vector<Affine>& from_frame, double x, double y) const {
  for (std::size_t i = layers_.size(); i-- > 0;) {
    double u = x, v = y;
    from_frame[i].Apply(u, v);
    if (layers_[i].outline(static_cast<float>(u), static_cast<float>(v)) > 0.5f) return static_cast<int>(i);
  }
  return -1;
}

ExactMotion Scene::Motion() const {
  const std::vector<Affine> before = LayersFromFrame(0), after = LayersFromFrame(1);
  std::vector<Affine> moves;
  for (std::size_t i = 0; i < layers_.size(); ++i) moves.push_back(after[i].Inverse().After(before[i]));
  ExactMotion motion;
  for (std::int32_t y = 0; y < size_.height; ++y) {
    for (std::int32_t x = 0; x < size_.width; ++x) {
      const int layer = Topmost(before, x, y);
      double u = x, v = y;
      moves[static_cast<std::size_t>(layer)].Apply(u, v);
      motion.vectors.push_back({static_cast<float>(u - x), static_cast<float>(v - y)});
      motion.visible.push_back(u >= 0 && v >= 0 && u <= size_.width - 1 && v <= size_.height - 1 &&
                               Topmost(after, u, v) == layer);
    }
  }
  return motion;
}

Triplet Scene::Draw() const {
  Triplet triplet = {name_, DrawFrame(0), DrawFrame(0.5), DrawFrame(1), Motion()};
  Scatter(triplet.previous, 1);
  Scatter(triplet.next, 2);
  for (Image* frame : {&triplet.previous, &triplet.middle, &triplet.next}) RoundStored(*frame);
  return triplet;
}

}  // namespace pfbench
