#include "Quality.h"

#include <cmath>
#include <cstdlib>

namespace pfbench {
namespace {

constexpr int kRadius = 5;
constexpr double kSigma = 1.5;

// One value a pixel.
struct Plane {
  int width, height;
  std::vector<double> values;
  const double* row(int y) const { return &values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)]; }
  double* row(int y) { return &values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)]; }
};

int Mirrored(int i, int count) {
  if (count == 1) return 0;
  i = std::abs(i) % (2 * count - 2);
  return i < count ? i : 2 * count - 2 - i;
}

std::vector<double> Bell() {
  std::vector<double> weights;
  double sum = 0;
  for (int i = -kRadius; i <= kRadius; ++i) sum += weights.emplace_back(std::exp(-i * i / (2 * kSigma * kSigma)));
  for (double& weight : weights) weight /= sum;
  return weights;
}

Plane Blurred(const Plane& plane) {
  static const std::vector<double> weights = Bell();
  Plane rows = plane, result = plane;
  for (int y = 0; y < plane.height; ++y) {
    for (int x = 0; x < plane.width; ++x) {
      double sum = 0;
      const bool inside = x >= kRadius && x + kRadius < plane.width;
      for (int i = 0; i <= 2 * kRadius; ++i) {
        const int from = x + i - kRadius;
        sum += weights[static_cast<std::size_t>(i)] * plane.row(y)[inside ? from : Mirrored(from, plane.width)];
      }
      rows.row(y)[x] = sum;
    }
  }
  for (int y = 0; y < plane.height; ++y) {
    double* const out = result.row(y);
    std::fill(out, out + plane.width, 0.0);
    for (int i = 0; i <= 2 * kRadius; ++i) {
      const double* const from = rows.row(Mirrored(y + i - kRadius, plane.height));
      for (int x = 0; x < plane.width; ++x) out[x] += weights[static_cast<std::size_t>(i)] * from[x];
    }
  }
  return result;
}

Plane Luminance(const Image& image) {
  Plane plane = {image.size.width, image.size.height, std::vector<double>(image.rgb.size() / 3)};
  for (std::size_t i = 0; i < plane.values.size(); ++i) {
    const float* const pixel = &image.rgb[3 * i];
    plane.values[i] = 0.299 * double{pixel[0]} + 0.587 * double{pixel[1]} + 0.114 * double{pixel[2]};
  }
  return plane;
}

Plane Product(const Plane& a, const Plane& b) {
  Plane product = a;
  for (std::size_t i = 0; i < a.values.size(); ++i) product.values[i] *= b.values[i];
  return product;
}

double StructuralSimilarity(const Image& picture, const Image& truth) {
  constexpr double c1 = 6.5025, c2 = 58.5225;
  const Plane a = Luminance(picture), b = Luminance(truth);
  const Plane mean_a = Blurred(a), mean_b = Blurred(b);
  const Plane aa = Blurred(Product(a, a)), bb = Blurred(Product(b, b)), ab = Blurred(Product(a, b));
  double sum = 0;
  for (std::size_t i = 0; i < a.values.size(); ++i) {
    const double p = mean_a.values[i], q = mean_b.values[i];
    const double variances = aa.values[i] - p * p + bb.values[i] - q * q, covariance = ab.values[i] - p * q;
    sum += (2 * p * q + c1) * (2 * covariance + c2) / ((p * p + q * q + c1) * (variances + c2));
  }
  return sum / static_cast<double>(a.values.size());
}

double SignalToNoise(const Image& picture, const Image& truth) {
  double sum = 0;
  for (std::size_t i = 0; i < truth.rgb.size(); ++i) {
    const double difference = double{picture.rgb[i]} - double{truth.rgb[i]};
    sum += difference * difference;
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(truth.rgb.size()) / sum);
}

}  // namespace

Quality Compare(const Image& picture, const Image& truth) {
  Image stored = picture;
  RoundStored(stored);
  const Image seen = AsSeen(stored), wanted = AsSeen(truth);
  return {SignalToNoise(seen, wanted), StructuralSimilarity(seen, wanted)};
}

}  // namespace pfbench
