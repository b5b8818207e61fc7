// Boxes of two whole columns and whole rows, as copies to half the width have them, summed in integers.
#if defined(PF_SAMPLE_AREA_PAIRS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_AREA_PAIRS_INL_H
#undef PF_SAMPLE_AREA_PAIRS_INL_H
#else
#define PF_SAMPLE_AREA_PAIRS_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "sample/AreaColumns-inl.h"
#include "sample/AreaMeans-inl.h"
#include "sample/PairProducts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Where sample i stands among samples 2b, 2b + 1, 2 blocks + 2b, 2 blocks + 2b + 1 of block b.
constexpr std::array<std::int32_t, 16> PairOrder(std::int32_t blocks) {
  std::array<std::int32_t, 16> at = {};
  for (std::int32_t i = 0; i < 4 * blocks; ++i) {
    const std::int32_t half = i / (2 * blocks), rest = i % (2 * blocks);
    at[static_cast<std::size_t>(i)] = rest / 2 * 4 + 2 * half + rest % 2;
  }
  return at;
}

// Means of neighbouring pairs of 8-bit columns. Sums are integers below 2^24, which single precision holds,
// so that their order does not matter.
template <bool straight>
class PairMeans {
  using D8 = hn::CappedTag<std::uint8_t, 64>;
  using D16 = hn::RepartitionToWide<hn::RebindToSigned<D8>>;
  using D32 = hn::RepartitionToWide<D16>;
  using DF = hn::RebindToFloat<D32>;
  using V8 = hn::Vec<D8>;
  using V32 = hn::Vec<D32>;
  static constexpr std::size_t kBlocks = hn::MaxLanes(D8()) / 16;  // of four pixels

 public:
  static constexpr std::int64_t kSamples = 4 * std::int64_t{kBlocks};
  static constexpr std::int64_t kMaxRows = 128;

  HWY_INLINE PairMeans(std::int64_t rows, std::int64_t stride, float inverse_area)
      : rows_(rows), stride_(stride), means_(inverse_area) {}

  // kSamples means; `from` is the first pixel in the first row.
  HWY_INLINE void operator()(const std::byte* from, PF_Pixel8* out) const {
    const D32 d;
    const DF df;
    V32 sums[4] = {hn::Zero(d), hn::Zero(d), hn::Zero(d), hn::Zero(d)};
    for (std::int64_t j = 0; j < rows_; ++j, from += stride_) {
      Unrolled<4>([&](auto i) HWY_ATTR {
        const auto* pixels = reinterpret_cast<const std::uint8_t*>(from) + i / 2 * sizeof(V8);
        sums[i] = AddPair(hn::LoadU(D8(), pixels), i % 2, sums[i]);
      });
    }
    const Channels<V32> sum = Transposed(sums);
    const auto mean = means_.Of({hn::ConvertTo(df, sum.alpha), hn::ConvertTo(df, sum.red), hn::ConvertTo(df, sum.green),
                                 hn::ConvertTo(df, sum.blue)});
    alignas(64) PF_Pixel8 mixed[kSamples];
    StorePixels(df, mean, mixed);
    const auto order = hn::SetTableIndices(d, kOrder.data());
    hn::StoreU(hn::TableLookupLanes(hn::Load(d, reinterpret_cast<const std::int32_t*>(mixed)), order), d,
               reinterpret_cast<std::int32_t*>(out));
  }

 private:
  // Adds the terms of the lower or the upper pair of every block.
  HWY_INLINE V32 AddPair(V8 pixels, std::size_t pair, V32 sum) const {
    const D8 d8;
    const D16 d16;
    const auto channels = hn::BitCast(d16, hn::TableLookupBytesOr0(pixels, hn::LoadDup128(d8, kChannels[pair])));
    auto factors = hn::BitCast(d16, hn::LoadDup128(d8, kOnes[straight]));
    if constexpr (straight) {
      const auto alphas = hn::TableLookupBytesOr0(pixels, hn::LoadDup128(d8, kAlphas[pair]));
      factors = hn::Or(factors, hn::BitCast(d16, alphas));
    }
    return AddPairProducts(D32(), channels, factors, sum);
  }

  // In the order that kOrder undoes.
  static HWY_INLINE Channels<V32> Transposed(const V32 (&v)[4]) {
    const D32 d;
    const hn::Repartition<std::int64_t, D32> wide;
    const auto low01 = hn::BitCast(wide, hn::InterleaveLower(d, v[0], v[1]));
    const auto low23 = hn::BitCast(wide, hn::InterleaveLower(d, v[2], v[3]));
    const auto high01 = hn::BitCast(wide, hn::InterleaveUpper(d, v[0], v[1]));
    const auto high23 = hn::BitCast(wide, hn::InterleaveUpper(d, v[2], v[3]));
    return {hn::BitCast(d, hn::InterleaveLower(wide, low01, low23)),
            hn::BitCast(d, hn::InterleaveUpper(wide, low01, low23)),
            hn::BitCast(d, hn::InterleaveLower(wide, high01, high23)),
            hn::BitCast(d, hn::InterleaveUpper(wide, high01, high23))};
  }

  static constexpr std::uint8_t kNone = 0x80;
  alignas(16) static constexpr std::uint8_t kChannels[2][16] = {
      {0, kNone, 4, kNone, 1, kNone, 5, kNone, 2, kNone, 6, kNone, 3, kNone, 7, kNone},
      {8, kNone, 12, kNone, 9, kNone, 13, kNone, 10, kNone, 14, kNone, 11, kNone, 15, kNone}};
  alignas(16) static constexpr std::uint8_t kAlphas[2][16] = {
      {kNone, kNone, kNone, kNone, 0, kNone, 4, kNone, 0, kNone, 4, kNone, 0, kNone, 4, kNone},
      {kNone, kNone, kNone, kNone, 8, kNone, 12, kNone, 8, kNone, 12, kNone, 8, kNone, 12, kNone}};
  alignas(16) static constexpr std::uint8_t kOnes[2][16] = {{1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0},
                                                            {1, 0, 1, 0}};
  static constexpr std::array<std::int32_t, 16> kOrder = PairOrder(std::int32_t{kBlocks});

  std::int64_t rows_, stride_;
  Means<PF_Pixel8, straight> means_;
};

// n samples, at least PairMeans::kSamples, of the columns from `column`. The last ones may be computed twice.
template <bool straight>
HWY_NOINLINE void SamplePairs(const Plane<PF_Pixel8>& src, const BoxSpan& rows, std::int64_t column, std::int64_t n,
                              float inverse_area, PF_Pixel8* out) {
  constexpr std::int64_t kSamples = PairMeans<straight>::kSamples;
  const PairMeans<straight> means(rows.end - rows.first, src.stride, inverse_area);
  const PF_Pixel8* from = src.At(column, rows.first);
  for (std::int64_t k = 0; k < n; k += kSamples) {
    k = std::min(k, n - kSamples);
    means(reinterpret_cast<const std::byte*>(from + 2 * k), out + k);
  }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
