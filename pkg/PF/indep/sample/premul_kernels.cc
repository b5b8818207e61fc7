#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sample/premul_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>

#include "sample/BilinearFixed-inl.h"
#include "sample/BilinearTaps-inl.h"
#include "sample/PremulBilinear.h"
#include "sample/RowCache.h"
#include "sample/SampleKernels.h"
#include "sample/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// The lane forms of the weights, in pixels. Sums of integers under them are exact, so the rounding of
// straight pixels serves. Floats: a product rounded once is what narrowing the exact weight gives.
HWY_INLINE Weights<RealVec<PF_PixelFloat>> PremulWeights(const SamplePlace<PF_PixelFloat>& place, std::int64_t fy) {
  const RealTag<PF_PixelFloat> d;
  const auto v = hn::Set(d, static_cast<float>(fy) / 65536.0f),
             rest_v = hn::Set(d, static_cast<float>(65536 - fy) / 65536.0f);
  const auto rest_u = hn::Sub(hn::Set(d, 1.0f), place.u);
  return {hn::Mul(rest_u, rest_v), hn::Mul(place.u, rest_v), hn::Mul(rest_u, v), hn::Mul(place.u, v)};
}

HWY_INLINE Weights<RealVec<PF_Pixel16>> PremulWeights(const SamplePlace<PF_Pixel16>& place, std::int64_t fy) {
  const RealTag<PF_Pixel16> d;
  const auto unit = hn::Set(d, 65536.0), pixel = hn::Set(d, 0x1p-16);
  const auto v = hn::Set(d, static_cast<double>(fy)), rest_v = hn::Set(d, static_cast<double>(65536 - fy));
  const auto truncated = [&](auto a, auto b) HWY_ATTR { return hn::Floor(hn::Mul(a, b)); };
  const auto w10 = truncated(place.u, rest_v), w01 = truncated(hn::Sub(hn::Set(d, 1.0), place.u), v);
  const auto w11 = truncated(place.u, v);
  const auto w00 = hn::Sub(hn::Sub(hn::Sub(unit, w10), w01), w11);
  return {hn::Mul(w00, pixel), hn::Mul(w10, pixel), hn::Mul(w01, pixel), hn::Mul(w11, pixel)};
}

HWY_INLINE Weights<RealVec<PF_Pixel8>> PremulWeights(const SamplePlace<PF_Pixel8>& place, std::int64_t fy) {
  const RealTag<PF_Pixel8> d;
  const hn::RebindToUnsigned<RealTag<PF_Pixel8>> du;
  const auto one = hn::Set(du, 65536);
  const auto fx = hn::BitCast(du, place.fraction);
  const auto truncated = [&](auto a, std::int64_t b) HWY_ATTR {
    return hn::ShiftRight<16>(hn::Mul(a, hn::Set(du, static_cast<std::uint32_t>(b))));
  };
  const auto w10 = truncated(fx, 65536 - fy), w01 = truncated(hn::Sub(one, fx), fy), w11 = truncated(fx, fy);
  const auto real = [&](auto w) HWY_ATTR {
    return hn::Mul(hn::ConvertTo(d, hn::BitCast(hn::RebindToSigned<RealTag<PF_Pixel8>>(), w)), hn::Set(d, 0x1p-16f));
  };
  return {real(hn::Sub(hn::Sub(hn::Sub(one, w10), w01), w11)), real(w10), real(w01), real(w11)};
}

// Samples whose four neighbours are all read from the world.
template <class P>
struct PremulSampler {
  using V = RealVec<P>;

  HWY_INLINE explicit PremulSampler(const RowJob<P>& job)
      : upper(job.upper), lower(job.lower), stride(job.stride), positions(job.positions), fy(job.fy) {}

  HWY_INLINE Channels<V> operator()(std::int64_t k) const {
    const RealTag<P> d;
    const auto place = PlaceAt<P>(positions, k);
    const Taps<V> t = {LoadTap(upper, stride, place), LoadTap(upper + 1, stride, place), LoadTap(lower, stride, place),
                       LoadTap(lower + 1, stride, place)};
    const Weights<V> w = PremulWeights(place, fy);
    const auto mix = [&](V Channels<V>::*c)
                         HWY_ATTR { return BeforeStore<P>(WeightedSum(w, t.p00.*c, t.p10.*c, t.p01.*c, t.p11.*c)); };
    const Channels<V> out = {mix(&Channels<V>::alpha), mix(&Channels<V>::red), mix(&Channels<V>::green),
                             mix(&Channels<V>::blue)};
    if constexpr (!kIsFloat<P>) return out;
    const Channels<V> blended = WithUniform<P>(t, hn::FirstN(d, 0), out);
    return fy != 0 ? blended : Select<P>(hn::Eq(place.u, hn::Zero(d)), t.p00, blended);
  }

  const HeldElement<P>*upper, *lower;
  std::int64_t stride;
  SamplePositions positions;
  std::int64_t fy;
};

template <class P>
HWY_NOINLINE void PremulRange(const RowJob<P>& job, std::int64_t begin, std::int64_t end) {
  ForLanes(RealTag<P>(), begin, end, job.out, PremulSampler<P>(job));
}

// Weights of few fraction bits are not truncated, so integers may compute as for equal alphas.
inline bool PremulFixed(const RowJob<PF_Pixel8>& job, int bits_u, std::int64_t begin, std::int64_t end) {
  const int bits_v = FractionBits(job.fy, 65536);
  if (job.fy == 0 || bits_u + bits_v > 8 || !FixedFits(job.positions, bits_u)) return false;
  FixedRange<FixedEqualSampler>(job, bits_u, bits_v, begin, end);
  return true;
}
template <class P>
bool PremulFixed(const RowJob<P>&, int, std::int64_t, std::int64_t) {
  return false;
}

template <class P>
RowCache PremulCache(std::byte* scratch, std::int64_t columns) {
  return RowCache(scratch, columns, kHeldColumnBytes<P>, 0, 0);
}

template <class P>
void PremulRow(const SampleRow& row, std::byte* scratch) {
  const Plane<P> src = SourceOf<P>(*row.params);
  const auto portable = kPortableSampleKernels.bilinear_premul[DepthIndex(DepthTraits<P>::kDepth)].row;
  // Rows at the upper and the lower edge read one row of the world; they are few.
  if (!RowsOnVectors(row.step_x, row.n) || row.y <= 0 || row.y >= (src.height - 1) * 65536)
    return portable(row, scratch);
  const auto first_behind = [&](std::int64_t x) {
    return std::clamp<std::int64_t>((x - row.x0 + row.step_x) / row.step_x, 0, row.n);
  };
  const std::int64_t begin = row.x0 > 0 ? 0 : first_behind(0);
  const std::int64_t end = row.x0 > (src.width - 1) * 65536 - 1 ? 0 : first_behind((src.width - 1) * 65536 - 1);
  if (begin >= end) return portable(row, scratch);
  P* out = static_cast<P*>(row.out);
  const auto one_by_one = [&](std::int64_t from, std::int64_t to) {
    portable({row.params, row.x0 + from * row.step_x, row.step_x, row.y, out + from, to - from}, scratch);
  };
  one_by_one(0, begin);
  one_by_one(end, row.n);
  const ColumnWindow window = WindowOf(row.x0, row.step_x, row.n);
  const RowCache cache = PremulCache<P>(scratch, window.count);
  const std::int64_t j = WholePart(row.y);
  const RowJob<P> job = {HoldRowIn(cache, src, window, j),
                         HoldRowIn(cache, src, window, j + 1),
                         cache.plane_stride,
                         {row.x0 - window.first * 65536, row.step_x},
                         Fraction(row.y),
                         RealOf<P>(0),
                         out};
  PrefetchRow(cache, src, window, j + 2);
  if (!PremulFixed(job, FractionBits(row.x0, row.step_x), begin, end)) PremulRange(job, begin, end);
}

template <class P>
std::uint64_t PremulScratch(const PF_SampPB*, std::int64_t step_x, std::int64_t n) {
  if (!RowsOnVectors(step_x, n)) return 64;
  return static_cast<std::uint64_t>(PremulCache<P>(nullptr, WindowOf(65535, step_x, n).count).Size());
}

template <class P>
constexpr SampleKernels::Pair kPremul = {PremulScratch<P>, PremulRow<P>};

SampleKernels::Pair BilinearPremul(int depth_index) {
  constexpr SampleKernels::Pair kPairs[] = {kPremul<PF_Pixel8>, kPremul<PF_Pixel16>, kPremul<PF_PixelFloat>};
  return kPairs[depth_index];
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();
