// Boxes of two whole columns and whole rows, as copies to half the width have them, summed in integers.
#if defined(PF_SAMPLE_AREA_PAIRS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_AREA_PAIRS_INL_H
#undef PF_SAMPLE_AREA_PAIRS_INL_H
#else
#define PF_SAMPLE_AREA_PAIRS_INL_H
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "sample/AreaColumns-inl.h"
#include "sample/AreaMeans-inl.h"
#include "simd/PairProducts-inl.h"

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

// Four vectors of pixels to vectors of channels: in block b, block b of each in turn.
template <class D, class V = hn::Vec<D>>
HWY_INLINE Channels<V> TransposedBlocks(D d, const V (&v)[4]) {
  const hn::RepartitionToWide<D> wide;
  const auto low01 = hn::BitCast(wide, hn::InterleaveLower(d, v[0], v[1]));
  const auto low23 = hn::BitCast(wide, hn::InterleaveLower(d, v[2], v[3]));
  const auto high01 = hn::BitCast(wide, hn::InterleaveUpper(d, v[0], v[1]));
  const auto high23 = hn::BitCast(wide, hn::InterleaveUpper(d, v[2], v[3]));
  return {hn::BitCast(d, hn::InterleaveLower(wide, low01, low23)),
          hn::BitCast(d, hn::InterleaveUpper(wide, low01, low23)),
          hn::BitCast(d, hn::InterleaveLower(wide, high01, high23)),
          hn::BitCast(d, hn::InterleaveUpper(wide, high01, high23))};
}

// Means of neighbouring pairs of columns. Sums of integers are such as the precision of the means holds, so
// that their order does not matter.
template <class P, bool straight>
class PairMeans;

// Below 2^24 in 32 bits.
template <bool straight>
class PairMeans<PF_Pixel8, straight> {
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
        hwy::Prefetch(pixels + kAreaPrefetch);
        sums[i] = AddPair(hn::LoadU(D8(), pixels), i % 2, sums[i]);
      });
    }
    const Channels<V32> sum = TransposedBlocks(d, sums);
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

// Alpha is cut into its high and low byte and 32768 taken from each channel, so that pairs of products can be
// added in 32 bits: the sum of alpha times channel is 256 high + low + 32768 (sum of alpha).
template <bool straight>
class PairMeans<PF_Pixel16, straight> {
  using D8 = hn::CappedTag<std::uint8_t, 64>;
  using D16 = hn::RepartitionToWide<hn::RebindToSigned<D8>>;
  using D32 = hn::RepartitionToWide<D16>;
  using D64 = hn::Repartition<double, D32>;
  using V8 = hn::Vec<D8>;
  using V32 = hn::Vec<D32>;
  using V64 = hn::Vec<D64>;
  static constexpr std::size_t kBlocks = hn::MaxLanes(D8()) / 16;  // of two pixels
  static constexpr std::size_t kHalf = 2 * kBlocks;                // of the samples

 public:
  static constexpr std::int64_t kSamples = 4 * std::int64_t{kBlocks};
  static constexpr std::int64_t kMaxRows = 64;

  HWY_INLINE PairMeans(std::int64_t rows, std::int64_t stride, double inverse_area)
      : rows_(rows), stride_(stride), means_(inverse_area) {}

  HWY_INLINE void operator()(const std::byte* from, PF_Pixel16* out) const {
    const D32 d;
    V32 high[4] = {hn::Zero(d), hn::Zero(d), hn::Zero(d), hn::Zero(d)};
    V32 low[4] = {hn::Zero(d), hn::Zero(d), hn::Zero(d), hn::Zero(d)};
    for (std::int64_t j = 0; j < rows_; ++j, from += stride_) {
      Unrolled<4>([&](auto i) HWY_ATTR {
        const auto* pixels = reinterpret_cast<const std::uint8_t*>(from) + i * sizeof(V8);
        hwy::Prefetch(pixels + kAreaPrefetch);
        AddPair(hn::LoadU(D8(), pixels), high[i], low[i]);
      });
    }
    const Channels<V32> highs = TransposedBlocks(d, high), lows = TransposedBlocks(d, low);
    alignas(64) std::uint64_t mixed[kSamples];
    Unrolled<2>([&](auto half) HWY_ATTR {
      const auto pixels = PackPixels16(D64(), means_.Of(SumsOf<half>(highs, lows)));
      hn::Store(pixels, hn::RebindToUnsigned<D64>(), mixed + half * kHalf);
    });
    const hn::CappedTag<std::uint64_t, kBlocks> blocks;
    hn::Vec<decltype(blocks)> v[4];
    hn::LoadInterleaved4(blocks, mixed, v[0], v[1], v[2], v[3]);
    Unrolled<4>([&](auto i)
                    HWY_ATTR { hn::StoreU(v[i], blocks, reinterpret_cast<std::uint64_t*>(out) + i * kBlocks); });
  }

 private:
  // Adds the terms of the pair in every block.
  static HWY_INLINE void AddPair(V8 pixels, V32& high, V32& low) {
    const D8 d8;
    const D16 d16;
    const auto table = [&](const std::uint8_t* bytes) HWY_ATTR {
      return hn::BitCast(d16, hn::TableLookupBytesOr0(pixels, hn::LoadDup128(d8, bytes)));
    };
    const auto channels = hn::Xor(table(kChannels), hn::Set(d16, INT16_MIN));
    auto factors = hn::BitCast(d16, hn::LoadDup128(d8, kOnes[straight]));
    if constexpr (straight) {
      high = AddPairProducts(D32(), channels, table(kAlphas[1]), high);
      factors = hn::Or(factors, table(kAlphas[0]));
    }
    low = AddPairProducts(D32(), channels, factors, low);
  }

  // Sums of half of the samples.
  template <std::size_t half>
  HWY_INLINE Channels<V64> SumsOf(const Channels<V32>& high, const Channels<V32>& low) const {
    const D64 d;
    const hn::Half<D32> d_half;
    const auto wide = [&](V32 v) HWY_ATTR {
      return hn::PromoteTo(d, half == 0 ? hn::LowerHalf(d_half, v) : hn::UpperHalf(d_half, v));
    };
    const V64 one_each = hn::Set(d, 65536.0 * static_cast<double>(rows_));
    const V64 alpha = hn::Add(wide(low.alpha), one_each);
    const V64 offset = straight ? hn::Mul(alpha, hn::Set(d, 32768.0)) : one_each;
    const auto sum = [&](V32 h, V32 l) HWY_ATTR {
      const V64 rest = hn::Add(wide(l), offset);
      return straight ? hn::Add(hn::Mul(wide(h), hn::Set(d, 256.0)), rest) : rest;
    };
    return {alpha, sum(high.red, low.red), sum(high.green, low.green), sum(high.blue, low.blue)};
  }

  static constexpr std::uint8_t kNone = 0x80;
  alignas(16) static constexpr std::uint8_t kChannels[16] = {0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};
  // Low and high byte.
  alignas(16) static constexpr std::uint8_t kAlphas[2][16] = {
      {kNone, kNone, kNone, kNone, 0, kNone, 8, kNone, 0, kNone, 8, kNone, 0, kNone, 8, kNone},
      {kNone, kNone, kNone, kNone, 1, kNone, 9, kNone, 1, kNone, 9, kNone, 1, kNone, 9, kNone}};
  alignas(16) static constexpr std::uint8_t kOnes[2][16] = {{1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0},
                                                            {1, 0, 1, 0}};

  std::int64_t rows_, stride_;
  Means<PF_Pixel16, straight> means_;
};

template <bool straight>
class PairMeans<PF_PixelFloat, straight> {
 public:
  static constexpr std::int64_t kLanes = Means<PF_PixelFloat, straight>::kLanes;
  // Many, so that sums have reached memory when they are loaded together.
  static constexpr std::int64_t kSamples = 4 * kLanes;
  static constexpr std::int64_t kMaxRows = kAreaBlock;

  HWY_INLINE PairMeans(std::int64_t rows, std::int64_t stride, double inverse_area)
      : rows_(rows), stride_(stride), means_(inverse_area) {}

  HWY_INLINE void operator()(const std::byte* from, PF_PixelFloat* out) const {
    constexpr std::size_t kTogether = 4;
    alignas(64) double sums[4 * kSamples];
    for (std::size_t first = 0; first < kSamples; first += kTogether) {
      Sum4 columns[2 * kTogether];
      Unrolled<2 * kTogether>([&](auto c) HWY_ATTR { columns[c] = Sum4::Zero(); });
      const std::byte* row = from + 2 * first * sizeof(PF_PixelFloat);
      for (std::int64_t j = 0; j < rows_; ++j, row += stride_) {
        Unrolled<2 * kTogether>([&](auto c) HWY_ATTR {
          const std::byte* pixel = row + c * sizeof(PF_PixelFloat);
          if constexpr (c % 4 == 0) hwy::Prefetch(pixel + kAreaPrefetch);
          columns[c] = columns[c] + FloatTerms<straight>(pixel);
        });
      }
      Unrolled<kTogether>([&](auto i)
                              HWY_ATTR { (columns[2 * i] + columns[2 * i + 1]).Store(sums + 4 * (first + i)); });
    }
    for (std::int64_t k = 0; k < kSamples; k += kLanes) means_.Store(sums + 4 * k, out + k);
  }

 private:
  std::int64_t rows_, stride_;
  Means<PF_PixelFloat, straight> means_;
};

// n samples, at least PairMeans::kSamples, of the columns from `column`. The last ones may be computed twice.
template <class P, bool straight>
HWY_NOINLINE void SamplePairs(const Plane<P>& src, const BoxSpan& rows, std::int64_t column, std::int64_t n,
                              AreaReal<P> inverse_area, P* out) {
  constexpr std::int64_t kSamples = PairMeans<P, straight>::kSamples;
  const PairMeans<P, straight> means(rows.end - rows.first, src.stride, inverse_area);
  const P* from = src.At(column, rows.first);
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
