// Sums of columns over the rows of a box, as PF_PixelDouble per column, as sample/Area.h has them.
#if defined(PF_SIMD_AREA_COLUMNS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SIMD_AREA_COLUMNS_INL_H
#undef PF_SIMD_AREA_COLUMNS_INL_H
#else
#define PF_SIMD_AREA_COLUMNS_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>

#include "sample/Area.h"
#include "simd/PairProducts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// At most four doubles a vector, so that a vector is a pixel or half of one.
using SumTag = hn::CappedTag<double, 4>;
inline constexpr std::size_t kSumLanes = hn::MaxLanes(SumTag());
inline constexpr std::size_t kSumParts = 4 / kSumLanes;

// The lane form of PF_PixelDouble.
struct Sum4 {
  hn::Vec<SumTag> part[kSumParts];

  static HWY_INLINE Sum4 Zero() {
    return Each([](std::size_t) HWY_ATTR { return hn::Zero(SumTag()); });
  }
  static HWY_INLINE Sum4 Load(const double* from) {
    return Each([&](std::size_t p) HWY_ATTR { return hn::LoadU(SumTag(), from + p * kSumLanes); });
  }
  static HWY_INLINE Sum4 Of(hn::Vec<hn::Full128<std::int32_t>> v) { return Promote(v); }
  static HWY_INLINE Sum4 Of(hn::Vec<hn::Full128<float>> v) { return Promote(v); }
  HWY_INLINE void Store(double* to) const {
    for (std::size_t p = 0; p < kSumParts; ++p) hn::StoreU(part[p], SumTag(), to + p * kSumLanes);
  }
  HWY_INLINE Sum4 operator+(const Sum4& other) const {
    return Each([&](std::size_t p) HWY_ATTR { return hn::Add(part[p], other.part[p]); });
  }
  HWY_INLINE Sum4 operator*(const Sum4& other) const {
    return Each([&](std::size_t p) HWY_ATTR { return hn::Mul(part[p], other.part[p]); });
  }
  HWY_INLINE Sum4 operator+(double addend) const {
    return Each([&](std::size_t p) HWY_ATTR { return hn::Add(part[p], hn::Set(SumTag(), addend)); });
  }
  HWY_INLINE Sum4 operator*(double factor) const {
    return Each([&](std::size_t p) HWY_ATTR { return hn::Mul(part[p], hn::Set(SumTag(), factor)); });
  }

 private:
  template <class F>
  static HWY_INLINE Sum4 Each(F f) {
    Sum4 sum;
    for (std::size_t p = 0; p < kSumParts; ++p) sum.part[p] = f(p);
    return sum;
  }
  template <class V>
  static HWY_INLINE Sum4 Promote(V v) {
    Sum4 sum;
    if constexpr (kSumParts == 1) {
      sum.part[0] = hn::PromoteTo(SumTag(), v);
    } else {
      sum.part[0] = hn::PromoteTo(SumTag(), hn::LowerHalf(v));
      sum.part[1] = hn::PromoteTo(SumTag(), hn::UpperHalf(hn::Half<hn::DFromV<V>>(), v));
    }
    return sum;
  }
};

// Block b of a vector of at most two blocks of 16 bytes.
template <class D>
HWY_INLINE hn::Vec<hn::Full128<hn::TFromD<D>>> BlockOf(D, hn::Vec<D> v, std::size_t b) {
  if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 16) {
    return v;
  } else {
    const hn::Half<D> half;
    return b == 0 ? hn::LowerHalf(half, v) : hn::UpperHalf(half, v);
  }
}

// At most 32 rows of a box: row `first`, whole ones, row end - 1.
struct RowBlock {
  std::int64_t first, end;
  double first_weight, last_weight;  // equal when the block is one row

  double WeightOf(std::int64_t j) const { return j == first ? first_weight : j == end - 1 ? last_weight : 1.0; }
};

inline RowBlock RowsOf(const BoxSpan& rows, std::int64_t top) {
  const std::int64_t end = std::min(top + kAreaRowBlock, rows.end);
  return {top, end, rows.WeightOf(top), rows.WeightOf(end - 1)};
}

// A struct per depth sums kColumns columns at a time over a block of rows, in units of kUnit; `from` is the
// first of their pixels in row `first`.
template <class P, bool straight>
struct ColumnSums;

// In integers. Weighted rows are those of less than 65536. What rows t and b of weights wt and wb add is
//   wt t + wb b = (wt - 2^15)(t - 2^15) + (wb - 2^15)(b - 2^15) + 2^15 (t + b) + 2^15 (wt + wb) - 2^31,
// so that signed 16-bit products do; a row that is missing counts as zero with weight 0.
template <bool straight>
struct ColumnSums<PF_Pixel8, straight> {
  using D16 = hn::CappedTag<std::uint16_t, 16>;
  using DI16 = hn::RebindToSigned<D16>;
  using D32 = hn::RepartitionToWide<DI16>;
  static constexpr std::size_t kColumns = hn::MaxLanes(D16()) / 4;
  static constexpr double kUnit = 0x1p-16;

  // Alpha, and each colour, times alpha when straight.
  static HWY_INLINE hn::Vec<D16> Terms(const std::byte* from) {
    const D16 d;
    const hn::Rebind<std::uint8_t, D16> d8;
    const auto pixels = hn::PromoteTo(d, hn::LoadU(d8, reinterpret_cast<const std::uint8_t*>(from)));
    if constexpr (!straight) return pixels;
    const hn::Repartition<std::uint8_t, D16> bytes;
    alignas(16) static constexpr std::uint8_t kAlpha[16] = {0x80, 0x80, 0, 1, 0, 1, 0, 1, 0x80, 0x80, 8, 9, 8, 9, 8, 9};
    alignas(16) static constexpr std::uint16_t kOne[8] = {1, 0, 0, 0, 1, 0, 0, 0};
    const auto alpha = hn::TableLookupBytesOr0(hn::BitCast(bytes, pixels), hn::LoadDup128(bytes, kAlpha));
    return hn::Mul(pixels, hn::Or(hn::BitCast(d, alpha), hn::LoadDup128(d, kOne)));
  }

  static HWY_INLINE void Sum(const std::byte* from, std::int64_t stride, const RowBlock& rows, double* out) {
    const D16 d;
    const D32 d32;
    std::int64_t j = 0, end = rows.end - rows.first;
    auto top = hn::Zero(d), bottom = hn::Zero(d);
    std::int32_t top_weight = 0, bottom_weight = 0;
    if (rows.first_weight < 1.0) {
      top_weight = static_cast<std::int32_t>(rows.first_weight * 65536.0);
      top = Terms(from);
      ++j;
    }
    if (j < end && rows.last_weight < 1.0) {
      --end;
      bottom_weight = static_cast<std::int32_t>(rows.last_weight * 65536.0);
      bottom = Terms(from + end * stride);
    }
    // Lower and upper pixel of each block of two.
    auto lower = hn::Zero(d32), upper = hn::Zero(d32);
    for (; j < end; ++j) {
      const auto terms = Terms(from + j * stride);
      lower = hn::Add(lower, hn::BitCast(d32, hn::InterleaveLower(d, terms, hn::Zero(d))));
      upper = hn::Add(upper, hn::BitCast(d32, hn::InterleaveUpper(d, terms, hn::Zero(d))));
    }
    if (top_weight + bottom_weight == 0) {
      for (std::size_t c = 0; c < kColumns; ++c) {
        (Sum4::Of(BlockOf(d32, c % 2 == 0 ? lower : upper, c / 2)) * 65536.0).Store(out + 4 * c);
      }
      return;
    }
    const auto bias = hn::Set(d, 0x8000);
    const auto t = hn::Xor(top, bias), b = hn::Xor(bottom, bias);
    const auto lower_pairs = hn::BitCast(DI16(), hn::InterleaveLower(d, t, b));
    const auto upper_pairs = hn::BitCast(DI16(), hn::InterleaveUpper(d, t, b));
    const auto one = hn::Set(DI16(), 1);
    const auto weights =
        hn::BitCast(DI16(), hn::Set(d32, (top_weight - 32768 & 0xFFFF) + (bottom_weight - 32768) * 65536));
    // Twice the whole rows and the weighted ones once, less 2^16, in units of 2^15.
    lower = AddPairProducts(d32, lower_pairs, one, hn::Add(lower, lower));
    upper = AddPairProducts(d32, upper_pairs, one, hn::Add(upper, upper));
    const auto lower_rest = AddPairProducts(d32, lower_pairs, weights, hn::Zero(d32));
    const auto upper_rest = AddPairProducts(d32, upper_pairs, weights, hn::Zero(d32));
    const double constant = 32768.0 * (top_weight + bottom_weight);
    for (std::size_t c = 0; c < kColumns; ++c) {
      const Sum4 whole = Sum4::Of(BlockOf(d32, c % 2 == 0 ? lower : upper, c / 2));
      const Sum4 rest = Sum4::Of(BlockOf(d32, c % 2 == 0 ? lower_rest : upper_rest, c / 2));
      (whole * 32768.0 + (rest + constant)).Store(out + 4 * c);
    }
  }
};

// Products in 32-bit integers, sums in double.
template <bool straight>
struct ColumnSums<PF_Pixel16, straight> {
  using D32 = hn::CappedTag<std::uint32_t, 8>;
  using D64 = hn::Repartition<double, D32>;
  using V64 = hn::Vec<D64>;
  static constexpr std::size_t kBlocks = hn::MaxLanes(D32()) / 4;  // a pixel each
  static constexpr std::size_t kVectors = 2;
  static constexpr std::size_t kColumns = kVectors * kBlocks;
  static constexpr double kUnit = 1.0;

  // Of each pixel alpha and red, and green and blue.
  struct Halves {
    V64 low, high;
  };

  static HWY_INLINE Halves Terms(const std::byte* from) {
    const D32 d;
    const D64 d64;
    const auto pixels =
        hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint16_t, D32>(), reinterpret_cast<const std::uint16_t*>(from)));
    auto terms = pixels;
    if constexpr (straight) {
      const auto is_alpha = hn::Eq(hn::And(hn::Iota(d, 0), hn::Set(d, 3)), hn::Zero(d));
      terms = hn::Mul(pixels, hn::IfThenElse(is_alpha, hn::Set(d, 1), hn::Broadcast<0>(pixels)));
    }
    // The bits of 2^52 + v are those of 2^52 with v below.
    const auto magic = hn::Set(d, 0x43300000);
    const V64 offset = hn::Set(d64, 0x1p52);
    return {hn::Sub(hn::BitCast(d64, hn::InterleaveLower(d, terms, magic)), offset),
            hn::Sub(hn::BitCast(d64, hn::InterleaveUpper(d, terms, magic)), offset)};
  }

  static HWY_INLINE void Sum(const std::byte* from, std::int64_t stride, const RowBlock& rows, double* out) {
    const D64 d64;
    Halves sums[kVectors];
    for (Halves& sum : sums) sum = {hn::Zero(d64), hn::Zero(d64)};
    for (std::int64_t j = rows.first; j < rows.end; ++j) {
      const V64 weight = hn::Set(d64, rows.WeightOf(j));
      for (std::size_t v = 0; v < kVectors; ++v) {
        const Halves terms = Terms(from + (j - rows.first) * stride + v * kBlocks * sizeof(PF_Pixel16));
        sums[v].low = hn::Add(sums[v].low, hn::Mul(weight, terms.low));
        sums[v].high = hn::Add(sums[v].high, hn::Mul(weight, terms.high));
      }
    }
    for (std::size_t v = 0; v < kVectors; ++v) {
      double* to = out + 4 * kBlocks * v;
      if constexpr (kBlocks == 1) {
        hn::StoreU(sums[v].low, d64, to);
        hn::StoreU(sums[v].high, d64, to + 2);
      } else {
        hn::StoreU(hn::ConcatLowerLower(d64, sums[v].high, sums[v].low), d64, to);
        hn::StoreU(hn::ConcatUpperUpper(d64, sums[v].high, sums[v].low), d64, to + 4);
      }
    }
  }
};

template <bool straight>
struct ColumnSums<PF_PixelFloat, straight> {
  static constexpr std::size_t kColumns = 4;
  static constexpr double kUnit = 1.0;

  static HWY_INLINE Sum4 Terms(const std::byte* from) {
    const hn::Full128<float> d;
    const auto pixel = hn::LoadU(d, reinterpret_cast<const float*>(from));
    if constexpr (!straight) return Sum4::Of(pixel);
    alignas(16) static constexpr float kOne[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    const auto is_alpha = hn::FirstN(d, 1);
    return Sum4::Of(pixel) * Sum4::Of(hn::IfThenElse(is_alpha, hn::Load(d, kOne), hn::Broadcast<0>(pixel)));
  }

  static HWY_INLINE void Sum(const std::byte* from, std::int64_t stride, const RowBlock& rows, double* out) {
    Sum4 sums[kColumns];
    for (Sum4& sum : sums) sum = Sum4::Zero();
    for (std::int64_t j = rows.first; j < rows.end; ++j) {
      const std::byte* row = from + (j - rows.first) * stride;
      const double weight = rows.WeightOf(j);
      for (std::size_t c = 0; c < kColumns; ++c) sums[c] = sums[c] + Terms(row + c * sizeof(PF_PixelFloat)) * weight;
    }
    for (std::size_t c = 0; c < kColumns; ++c) sums[c].Store(out + 4 * c);
  }
};

// Sums `count` columns from `column` over the rows of a box, in units of kUnit.
template <class P, bool straight>
HWY_NOINLINE void SumColumnsOnVectors(const Plane<P>& src, const BoxSpan& rows, std::int64_t column, std::int64_t count,
                                      double* HWY_RESTRICT sums) {
  using Columns = ColumnSums<P, straight>;
  constexpr std::int64_t kColumns = static_cast<std::int64_t>(Columns::kColumns);
  constexpr double kScale = 1.0 / Columns::kUnit;
  for (std::int64_t top = rows.first; top < rows.end; top += kAreaRowBlock) {
    const RowBlock block = RowsOf(rows, top);
    const auto* from = reinterpret_cast<const std::byte*>(src.At(column, top));
    const auto add = [&](std::int64_t c, std::int64_t n, const double* more) HWY_ATTR {
      for (std::int64_t i = 4 * c; i < 4 * (c + n); ++i) sums[i] = (top == rows.first ? 0.0 : sums[i]) + *more++;
    };
    std::int64_t c = 0;
    double block_sums[4 * kColumns];
    for (; c + kColumns <= count; c += kColumns) {
      const std::byte* pixels = from + c * static_cast<std::int64_t>(sizeof(P));
      if (top == rows.first) {
        Columns::Sum(pixels, src.stride, block, sums + 4 * c);
      } else {
        Columns::Sum(pixels, src.stride, block, block_sums);
        add(c, kColumns, block_sums);
      }
    }
    for (; c < count; ++c) {
      PF_PixelDouble sum = {};
      for (std::int64_t j = block.first; j < block.end; ++j) {
        AddWeighted(sum, kScale * block.WeightOf(j), AreaTerm<straight>(*src.At(column + c, j)));
      }
      const double plain[4] = {sum.alpha, sum.red, sum.green, sum.blue};
      add(c, 1, plain);
    }
  }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
