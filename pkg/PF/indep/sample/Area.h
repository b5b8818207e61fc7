// Area sampling: the mean of the source over a box.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "sample/AreaBox.h"
#include "sample/Rounding.h"
#include "sample/SampleSource.h"

namespace pf {

// Precision, and what is added before a mean is truncated: a half, and enough to make up for the rounding
// of the reciprocal, so that exact halves go up.
template <class P>
struct AreaMath {
  using Real = double;
  static constexpr double kRounding = 0.5 + 0x1p-30;
};
template <>
struct AreaMath<PF_Pixel8> {
  using Real = float;
  static constexpr float kRounding = 0.5f + 0x1p-14f;
};
template <class P>
using AreaReal = typename AreaMath<P>::Real;

// Rows and columns of a block of sums.
inline constexpr std::int64_t kAreaBlock = 32;
// Columns summed at a time, to keep the sums in the fastest cache.
inline constexpr std::int64_t kAreaTile = 64;

// What is summed of a pixel, or its sums.
template <class T>
struct AreaSum {
  T alpha, red, green, blue;

  template <class U>
  constexpr AreaSum<U> As() const {
    return {static_cast<U>(alpha), static_cast<U>(red), static_cast<U>(green), static_cast<U>(blue)};
  }
  constexpr AreaSum operator+(const AreaSum& other) const {
    return {alpha + other.alpha, red + other.red, green + other.green, blue + other.blue};
  }
  constexpr AreaSum operator*(T factor) const { return {alpha * factor, red * factor, green * factor, blue * factor}; }
};

// Products of two channels are exact: integers below 2^32, floats in double.
template <bool straight, class P>
auto AreaTerm(const P& pixel) {
  using T = std::conditional_t<std::is_same_v<P, PF_Pixel8>, std::uint32_t, double>;
  const AreaSum<T> term = AreaSum<ChannelOf<P>>{pixel.alpha, pixel.red, pixel.green, pixel.blue}.template As<T>();
  if constexpr (!straight) return term;
  return AreaSum<T>{term.alpha, term.alpha * term.red, term.alpha * term.green, term.alpha * term.blue};
}

// Sums `count` columns, at most a tile, from `column` over the rows of the box. 16 bits and floats: rows
// from top to bottom in blocks whose sums are then added.
template <bool straight, class P>
void SumColumns(const Plane<P>& src, const BoxSpan& rows, std::int64_t column, std::int64_t count,
                AreaSum<double>* sums) {
  std::fill_n(sums, count, AreaSum<double>{});
  for (std::int64_t top = rows.first; top < rows.end; top += kAreaBlock) {
    AreaSum<double> block[kAreaTile] = {};
    for (std::int64_t j = top; j < std::min(top + kAreaBlock, rows.end); ++j) {
      const P* row = src.At(column, j);
      for (std::int64_t k = 0; k < count; ++k) block[k] = block[k] + AreaTerm<straight>(row[k]) * rows.WeightOf(j);
    }
    for (std::int64_t k = 0; k < count; ++k) sums[k] = sums[k] + block[k];
  }
}

// 8 bits: rows covered whole in integers, then the first and the last row if they are not.
template <bool straight>
void SumColumns(const Plane<PF_Pixel8>& src, const BoxSpan& rows, std::int64_t column, std::int64_t count,
                AreaSum<float>* sums) {
  const auto [begin, end] = rows.Whole();
  AreaSum<std::uint32_t> whole[kAreaTile] = {};
  for (std::int64_t j = begin; j < end; ++j) {
    const PF_Pixel8* row = src.At(column, j);
    for (std::int64_t k = 0; k < count; ++k) whole[k] = whole[k] + AreaTerm<straight>(row[k]);
  }
  const auto add = [&](std::int64_t j) {
    const PF_Pixel8* row = src.At(column, j);
    const float weight = static_cast<float>(rows.WeightOf(j));
    for (std::int64_t k = 0; k < count; ++k) {
      sums[k] = sums[k] + AreaTerm<straight>(row[k]).template As<float>() * weight;
    }
  };
  for (std::int64_t k = 0; k < count; ++k) sums[k] = whole[k].As<float>();
  if (begin > rows.first) add(rows.first);
  if (end < rows.end) add(end);
}

// Adds columns to the sum over the box. 16 bits and floats: from left to right.
class WideBoxSum {
 public:
  void Add(const AreaSum<double>& column, double weight) { sum_ = sum_ + column * weight; }
  AreaSum<double> Total() const { return sum_; }

 private:
  AreaSum<double> sum_ = {};
};

// 8 bits: in blocks of columns, the even and the odd ones of each apart; blocks in double.
class NarrowBoxSum {
 public:
  void Add(const AreaSum<float>& column, double weight) {
    AreaSum<float>& side = side_[count_ % 2];
    side = side + column * static_cast<float>(weight);
    if (++count_ == kAreaBlock) EndBlock();
  }
  AreaSum<float> Total() {
    EndBlock();
    return sum_.As<float>();
  }

 private:
  void EndBlock() {
    sum_ = sum_ + (side_[0] + side_[1]).As<double>();
    side_[0] = side_[1] = {};
    count_ = 0;
  }

  AreaSum<double> sum_ = {};
  AreaSum<float> side_[2] = {};
  std::int64_t count_ = 0;
};

template <bool straight, class P>
AreaSum<AreaReal<P>> SumOverBox(const Plane<P>& src, const BoxSpan& columns, const BoxSpan& rows) {
  std::conditional_t<std::is_same_v<P, PF_Pixel8>, NarrowBoxSum, WideBoxSum> sum;
  AreaSum<AreaReal<P>> tile[kAreaTile];
  for (std::int64_t left = columns.first; left < columns.end; left += kAreaTile) {
    const std::int64_t count = std::min(kAreaTile, columns.end - left);
    SumColumns<straight>(src, rows, left, count, tile);
    for (std::int64_t k = 0; k < count; ++k) sum.Add(tile[k], columns.WeightOf(left + k));
  }
  return sum.Total();
}

template <class P>
ChannelOf<P> StoreMean(AreaReal<P> mean) {
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    return StoredFloat(static_cast<float>(mean));
  } else {
    return static_cast<ChannelOf<P>>(mean + AreaMath<P>::kRounding);
  }
}

// Divides: alpha, and premultiplied colour, by the box's area, straight colour by the sum of alpha.
template <bool straight, class P>
P MeanOf(const AreaSum<AreaReal<P>>& sum, AreaReal<P> inverse_area) {
  using Real = AreaReal<P>;
  const ChannelOf<P> alpha = StoreMean<P>(sum.alpha * inverse_area);
  if constexpr (!std::is_same_v<P, PF_PixelFloat>) {
    if (alpha == 0) return {};
  } else if constexpr (straight) {
    if (!(sum.alpha > 0.0)) return {};
  }
  const Real inverse = straight ? Real{1} / sum.alpha : inverse_area;
  return {alpha, StoreMean<P>(sum.red * inverse), StoreMean<P>(sum.green * inverse), StoreMean<P>(sum.blue * inverse)};
}

template <class P>
AreaReal<P> InverseArea(const PF_SampPB& params) {
  return static_cast<AreaReal<P>>(1.0 / (BoxExtent(params.radius_x) * BoxExtent(params.radius_y)));
}

template <class P, bool straight>
P SampleArea(const PF_SampPB& params, std::int64_t x, std::int64_t y) {
  const Plane<P> src = SourceOf<P>(params);
  const BoxSpan columns = SpanOf(x, params.radius_x, src.width);
  const BoxSpan rows = SpanOf(y, params.radius_y, src.height);
  if (columns.IsEmpty() || rows.IsEmpty()) return {};
  return MeanOf<straight, P>(SumOverBox<straight>(src, columns, rows), InverseArea<P>(params));
}

}  // namespace pf
