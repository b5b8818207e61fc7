// One channel's curve, or its inverse, as a function that can be asked precisely or quickly.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "cor/Lcms.h"

namespace pfhost {

// How far the bits of v lie above those of `smallest`, with v limited to smallest..1 and NaN counting as smallest.
// By sign masks: colours out of gamut would upset jumps, and the compiler makes jumps of comparisons.
inline std::uint32_t LimitedPlace(float v, float smallest) {
  constexpr std::int64_t kInfinity = 0x7F800000, kOne = 0x3F800000;
  const std::int64_t low = std::bit_cast<std::int32_t>(smallest);
  std::int64_t bits = std::bit_cast<std::int32_t>(v);
  bits &= ~((kInfinity - bits) >> 63);
  const std::int64_t above = (bits - low) & ~((bits - low) >> 63);
  const std::int64_t beyond = above - (kOne - low);
  return static_cast<std::uint32_t>(kOne - low + (beyond & (beyond >> 63)));
}

// The precise function. A formula reaches as far as it does, and what is not
// finite stays what it is; samples are joined by straight lines and keep
// their ends beyond 0..1. The inverse of samples takes the running maximum for the samples.
class Curve {
 public:
  static Curve Line();  // every value stays
  static Curve Forward(const cmsToneCurve& curve);
  static Curve Inverse(const cmsToneCurve& curve);
  double operator()(double v) const;
  bool operator==(const Curve& other) const;

 private:
  std::shared_ptr<const cmsToneCurve> formula_;  // null: samples
  std::vector<float> samples_;
  bool inverse_ = false;  // of the samples
};

// A curve by tables: 2^steps places in each octave from 2^-48 to 64, below 0 too, straight lines between. Relative
// errors of a power g are about g (g - 1) / 8 / 4^steps.
class QuickCurve {
 public:
  // \param limited only Limited() will be asked: the tables end at 0 and 1.
  QuickCurve(const Curve& curve, int steps, bool limited);

  // For 0..1; above counts as 1, below and NaN as 0.
  float Limited(float v) const { return From(positive_, LimitedPlace(v, kSmallest)); }
  // For any value. Nearer to 0 than 2^-48 counts as 0.
  float operator()(float v) const {
    const float size = std::fabs(v);
    if (size >= kSmallest && size <= kLargest) {
      return From(v > 0 ? positive_ : negative_,
                  std::bit_cast<std::uint32_t>(size) - std::bit_cast<std::uint32_t>(kSmallest));
    }
    return size < kSmallest ? at_zero_ : static_cast<float>(curve_(static_cast<double>(v)));
  }

 private:
  static constexpr int kOctavesBelow1 = 48, kOctavesAbove1 = 6;
  static constexpr float kSmallest = 0x1p-48f, kLargest = 0x1p6f;

  std::vector<float> Nodes(int octaves, float sign) const;
  float From(const std::vector<float>& table, std::uint32_t place) const {
    const float* node = table.data() + (place >> shift_);
    const float part = static_cast<float>(static_cast<std::int32_t>(place & mask_)) * unit_;
    return node[0] + (node[1] - node[0]) * part;
  }

  Curve curve_;
  int shift_;
  std::uint32_t mask_;
  float unit_, at_zero_;
  std::vector<float> positive_, negative_;  // one node behind the last, for the line that starts there
};

// The nearest 8-bit code of a curve's value, from a table of 512 places in each octave from 2^-32 to 1.
class CodeCurve {
 public:
  explicit CodeCurve(const Curve& curve);
  // As QuickCurve::Limited.
  std::uint8_t operator()(float v) const { return table_[LimitedPlace(v, kSmallest) >> kShift]; }

 private:
  static constexpr int kOctaves = 32;
  static constexpr int kShift = 23 - 9;
  static constexpr float kSmallest = 0x1p-32f;

  std::vector<std::uint8_t> table_;
};

}  // namespace pfhost
