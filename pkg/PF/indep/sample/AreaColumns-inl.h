// Sums of columns over the rows of a box, as AreaSum<double> per column, as sample/Area.h has them.
#if defined(PF_SAMPLE_AREA_COLUMNS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_AREA_COLUMNS_INL_H
#undef PF_SAMPLE_AREA_COLUMNS_INL_H
#else
#define PF_SAMPLE_AREA_COLUMNS_INL_H
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "sample/Area.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Bytes to fetch ahead within a row: several rows at a time are more than the processor foresees by itself.
inline constexpr std::int64_t kAreaPrefetch = 512;

// At most four doubles a vector, so that a vector is a pixel or half of one.
using SumTag = hn::CappedTag<double, 4>;
using SumVec = hn::Vec<SumTag>;
inline constexpr std::size_t kSumLanes = hn::MaxLanes(SumTag());
inline constexpr std::size_t kSumParts = 4 / kSumLanes;

// The lane form of AreaSum<double>.
struct Sum4 {
  hn::Vec<SumTag> part[kSumParts];

  static HWY_INLINE Sum4 Zero() {
    return Each([](std::size_t) HWY_ATTR { return hn::Zero(SumTag()); });
  }
  static HWY_INLINE Sum4 Load(const double* from) {
    return Each([&](std::size_t p) HWY_ATTR { return hn::LoadU(SumTag(), from + p * kSumLanes); });
  }
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
  // Zero where `weight` is.
  HWY_INLINE Sum4 OrZero(double weight) const {
    const auto counts = hn::Ne(hn::Set(SumTag(), weight), hn::Zero(SumTag()));
    return Each([&](std::size_t p) HWY_ATTR { return hn::IfThenElseZero(counts, part[p]); });
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

// At most 32 rows of a box: row `first`, whole ones, row end - 1.
struct RowBlock {
  std::int64_t first, end;
  double first_weight, last_weight;  // equal when the block is one row

  double WeightOf(std::int64_t j) const { return j == first ? first_weight : j == end - 1 ? last_weight : 1.0; }
};

inline RowBlock RowsOf(const BoxSpan& rows, std::int64_t top) {
  const std::int64_t end = std::min(top + kAreaBlock, rows.end);
  return {top, end, rows.WeightOf(top), rows.WeightOf(end - 1)};
}

// f(0), f(1) ... f(n - 1), unrolled; f takes the number as a constant.
template <std::size_t n, class F>
HWY_INLINE void Unrolled(const F& f) {
  if constexpr (n > 0) {
    Unrolled<n - 1>(f);
    f(std::integral_constant<std::size_t, n - 1>());
  }
}

// A class per depth sums kColumns columns over rows; `from` is the first of their pixels in the first row.
// What columns have in common is computed once.
template <class P, bool straight>
class ColumnSums;

// Whole rows in integers, then the first and the last if they are not whole.
template <bool straight>
class ColumnSums<PF_Pixel8, straight> {
  using D16 = hn::CappedTag<std::uint16_t, 16>;
  using D32 = hn::RebindToSigned<hn::RepartitionToWide<D16>>;
  using DF = hn::RebindToFloat<D32>;
  static constexpr std::size_t kBlocks = hn::MaxLanes(D16()) / 8;  // of two pixels

 public:
  static constexpr std::size_t kColumns = 2 * kBlocks;
  // Beyond this, sums of whole rows leave 31 bits.
  static constexpr std::int64_t kMaxRows = 32768;

  HWY_INLINE ColumnSums(const BoxSpan& rows, std::int64_t stride)
      : stride_(stride),
        begin_(rows.Whole().begin - rows.first),
        end_(rows.Whole().end - rows.first),
        has_last_(rows.Whole().end < rows.end),
        first_weight_(hn::Set(DF(), static_cast<float>(rows.WeightOf(rows.first)))),
        last_weight_(hn::Set(DF(), static_cast<float>(rows.WeightOf(rows.end - 1)))) {}

  HWY_INLINE void operator()(const std::byte* from, float* out) const {
    const D16 d16;
    const D32 d32;
    const DF df;
    // Lower and upper pixel of each block.
    auto lower = hn::Zero(d32), upper = hn::Zero(d32);
    const auto low = [&](auto terms)
                         HWY_ATTR { return hn::BitCast(d32, hn::InterleaveLower(d16, terms, hn::Zero(d16))); };
    const auto high = [&](auto terms)
                          HWY_ATTR { return hn::BitCast(d32, hn::InterleaveUpper(d16, terms, hn::Zero(d16))); };
    for (std::int64_t j = begin_; j < end_; ++j) {
      const auto terms = Terms(from + j * stride_);
      lower = hn::Add(lower, low(terms));
      upper = hn::Add(upper, high(terms));
    }
    auto lower_sum = hn::ConvertTo(df, lower), upper_sum = hn::ConvertTo(df, upper);
    const auto add = [&](std::int64_t j, auto weight) HWY_ATTR {
      const auto terms = Terms(from + j * stride_);
      lower_sum = hn::Add(lower_sum, hn::Mul(hn::ConvertTo(df, low(terms)), weight));
      upper_sum = hn::Add(upper_sum, hn::Mul(hn::ConvertTo(df, high(terms)), weight));
    };
    if (begin_ > 0) add(0, first_weight_);
    if (has_last_) add(end_, last_weight_);
    if constexpr (kBlocks == 1) {
      hn::StoreU(lower_sum, df, out);
      hn::StoreU(upper_sum, df, out + 4);
    } else {
      hn::StoreU(hn::ConcatLowerLower(df, upper_sum, lower_sum), df, out);
      hn::StoreU(hn::ConcatUpperUpper(df, upper_sum, lower_sum), df, out + 8);
    }
  }

 private:
  using D8 = hn::Repartition<std::uint8_t, D16>;

  // Alpha, and each colour, times alpha when straight.
  HWY_INLINE hn::Vec<D16> Terms(const std::byte* from) const {
    const D16 d;
    const hn::Rebind<std::uint8_t, D16> half;
    const auto pixels = hn::PromoteTo(d, hn::LoadU(half, reinterpret_cast<const std::uint8_t*>(from)));
    if constexpr (!straight) return pixels;
    const auto alpha = hn::TableLookupBytesOr0(hn::BitCast(D8(), pixels), alpha_bytes_);
    return hn::Mul(pixels, hn::Or(hn::BitCast(d, alpha), one_for_alpha_));
  }

  static constexpr std::uint8_t kAlpha[16] = {0x80, 0x80, 0, 1, 0, 1, 0, 1, 0x80, 0x80, 8, 9, 8, 9, 8, 9};
  static constexpr std::uint16_t kOne[8] = {1, 0, 0, 0, 1, 0, 0, 0};

  std::int64_t stride_, begin_, end_;  // rows begin_..end_-1 are whole
  bool has_last_;
  hn::Vec<DF> first_weight_, last_weight_;
  hn::Vec<D8> alpha_bytes_ = hn::LoadDup128(D8(), kAlpha);
  hn::Vec<D16> one_for_alpha_ = hn::LoadDup128(D16(), kOne);
};

// Products in 32-bit integers, sums in double.
template <bool straight>
class ColumnSums<PF_Pixel16, straight> {
  using D32 = hn::CappedTag<std::uint32_t, 8>;
  using D64 = hn::Repartition<double, D32>;
  using V64 = hn::Vec<D64>;
  static constexpr std::size_t kBlocks = hn::MaxLanes(D32()) / 4;  // of one pixel
  static constexpr std::size_t kVectors = 2;
  // Of each pixel alpha and red, and green and blue.
  struct Halves {
    V64 low, high;
  };

 public:
  static constexpr std::size_t kColumns = kVectors * kBlocks;

  HWY_INLINE ColumnSums(const RowBlock& rows, std::int64_t stride) : rows_(rows), stride_(stride) {}

  HWY_INLINE void operator()(const std::byte* from, double* out) const {
    const D64 d;
    Halves sums[kVectors];
    Unrolled<kVectors>([&](auto v) HWY_ATTR { sums[v] = {hn::Zero(d), hn::Zero(d)}; });
    const auto add_row = [&](double row_weight) HWY_ATTR {
      hwy::Prefetch(from + kAreaPrefetch);
      const V64 weight = hn::Set(d, row_weight);
      Unrolled<kVectors>([&](auto v) HWY_ATTR {
        const Halves terms = Terms(from + v * kBlocks * sizeof(PF_Pixel16));
        sums[v].low = hn::Add(sums[v].low, hn::Mul(weight, terms.low));
        sums[v].high = hn::Add(sums[v].high, hn::Mul(weight, terms.high));
      });
      from += stride_;
    };
    for (std::int64_t j = rows_.first; j < rows_.end; ++j) add_row(rows_.WeightOf(j));
    Unrolled<kVectors>([&](auto v) HWY_ATTR { StorePixels(sums[v], out + 4 * kBlocks * v); });
  }

 private:
  static HWY_INLINE Halves Terms(const std::byte* from) {
    const D32 d;
    const D64 d64;
    const hn::Rebind<std::uint16_t, D32> d16;
    auto terms = hn::PromoteTo(d, hn::LoadU(d16, reinterpret_cast<const std::uint16_t*>(from)));
    if constexpr (straight) {
      const auto is_alpha = hn::Eq(hn::And(hn::Iota(d, 0), hn::Set(d, 3)), hn::Zero(d));
      terms = hn::Mul(terms, hn::IfThenElse(is_alpha, hn::Set(d, 1), hn::Broadcast<0>(terms)));
    }
    // The bits of 2^52 + v are those of 2^52 with v below.
    const auto magic = hn::Set(d, 0x43300000);
    const V64 offset = hn::Set(d64, 0x1p52);
    return {hn::Sub(hn::BitCast(d64, hn::InterleaveLower(d, terms, magic)), offset),
            hn::Sub(hn::BitCast(d64, hn::InterleaveUpper(d, terms, magic)), offset)};
  }

  static HWY_INLINE void StorePixels(const Halves& sums, double* to) {
    const D64 d;
    if constexpr (kBlocks == 1) {
      hn::StoreU(sums.low, d, to);
      hn::StoreU(sums.high, d, to + 2);
    } else {
      hn::StoreU(hn::ConcatLowerLower(d, sums.high, sums.low), d, to);
      hn::StoreU(hn::ConcatUpperUpper(d, sums.high, sums.low), d, to + 4);
    }
  }

  RowBlock rows_;
  std::int64_t stride_;
};

template <bool straight>
HWY_INLINE Sum4 FloatTerms(const std::byte* from) {
  const hn::Full128<float> d;
  const auto pixel = hn::LoadU(d, reinterpret_cast<const float*>(from));
  if constexpr (!straight) return Sum4::Of(pixel);
  return Sum4::Of(pixel) * Sum4::Of(hn::IfThenElse(hn::FirstN(d, 1), hn::Set(d, 1.0f), hn::Broadcast<0>(pixel)));
}

template <bool straight>
class ColumnSums<PF_PixelFloat, straight> {
 public:
  static constexpr std::size_t kColumns = 4;

  HWY_INLINE ColumnSums(const RowBlock& rows, std::int64_t stride) : rows_(rows), stride_(stride) {}

  HWY_INLINE void operator()(const std::byte* from, double* out) const {
    Sum4 sums[kColumns];
    Unrolled<kColumns>([&](auto c) HWY_ATTR { sums[c] = Sum4::Zero(); });
    for (std::int64_t j = rows_.first; j < rows_.end; ++j, from += stride_) {
      hwy::Prefetch(from + kAreaPrefetch);
      const double weight = rows_.WeightOf(j);
      Unrolled<kColumns>([&](auto c) HWY_ATTR {
        sums[c] = sums[c] + FloatTerms<straight>(from + c * sizeof(PF_PixelFloat)) * weight;
      });
    }
    Unrolled<kColumns>([&](auto c) HWY_ATTR { sums[c].Store(out + 4 * c); });
  }

 private:
  RowBlock rows_;
  std::int64_t stride_;
};

// Sums `count` columns from `column` over the rows of a box.
template <class P, bool straight>
HWY_NOINLINE void SumColumnsOnVectors(const Plane<P>& src, const BoxSpan& rows, std::int64_t column, std::int64_t count,
                                      double* HWY_RESTRICT sums) {
  using Columns = ColumnSums<P, straight>;
  constexpr std::int64_t kColumns = static_cast<std::int64_t>(Columns::kColumns);
  for (std::int64_t top = rows.first; top < rows.end; top += kAreaBlock) {
    const RowBlock block = RowsOf(rows, top);
    const Columns sum_columns(block, src.stride);
    const auto* from = reinterpret_cast<const std::byte*>(src.At(column, top));
    const auto add = [&](std::int64_t c, std::int64_t n, const double* more) HWY_ATTR {
      for (std::int64_t i = 4 * c; i < 4 * (c + n); ++i) sums[i] = (top == rows.first ? 0.0 : sums[i]) + *more++;
    };
    std::int64_t c = 0;
    if (top == rows.first) {
      for (; c + kColumns <= count; c += kColumns, from += kColumns * sizeof(P)) sum_columns(from, sums + 4 * c);
    }
    for (; c + kColumns <= count; c += kColumns, from += kColumns * sizeof(P)) {
      double block_sums[4 * kColumns];
      sum_columns(from, block_sums);
      add(c, kColumns, block_sums);
    }
    for (; c < count; ++c) {
      AreaSum<double> sum = {};
      for (std::int64_t j = block.first; j < block.end; ++j) {
        sum = sum + AreaTerm<straight>(*src.At(column + c, j)) * block.WeightOf(j);
      }
      add(c, 1, &sum.alpha);
    }
  }
}

template <class P, bool straight>
HWY_NOINLINE void SumColumnsOnVectors(const Plane<P>& src, const BoxSpan& rows, std::int64_t column, std::int64_t count,
                                      float* HWY_RESTRICT sums) {
  using Columns = ColumnSums<P, straight>;
  constexpr std::int64_t kColumns = static_cast<std::int64_t>(Columns::kColumns);
  const Columns sum_columns(rows, src.stride);
  const auto* from = reinterpret_cast<const std::byte*>(src.At(column, rows.first));
  std::int64_t c = 0;
  if (rows.end - rows.first <= Columns::kMaxRows) {
    for (; c + kColumns <= count; c += kColumns, from += kColumns * sizeof(P)) sum_columns(from, sums + 4 * c);
  }
  for (; c < count; c += kAreaTile) {
    AreaSum<float> rest[kAreaTile];
    const std::int64_t n = std::min(kAreaTile, count - c);
    SumColumns<straight>(src, rows, column + c, n, rest);
    std::memcpy(sums + 4 * c, rest, static_cast<std::size_t>(n) * sizeof(*rest));
  }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
