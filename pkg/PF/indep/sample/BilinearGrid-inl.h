// Samples between two source rows that have been spread along themselves, in vectors that start at multiples of their
// length.
#if defined(PF_SAMPLE_BILINEAR_GRID_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_GRID_INL_H
#undef PF_SAMPLE_BILINEAR_GRID_INL_H
#else
#define PF_SAMPLE_BILINEAR_GRID_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "sample/BilinearFormula-inl.h"
#include "sample/BilinearTaps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Samples begin..end-1 of a row, and beside them first..last-1, which may share vectors with them and follow the
// formula. Where a vector fills cache lines, doing them along with the others leaves none that is written by halves:
// such a line has to be read before.
struct SampleRange {
  std::int64_t begin, end, first, last;
};
inline constexpr std::int64_t kMostBeside = 4;  // at either end

// How the vectors of pixels at an end of a range are stored.
template <class P>
struct EndPixels {
  EndPixels(const RowJob<P>& job, std::int64_t k, std::int64_t begin, std::int64_t end)
      : first(job.out + begin), last(job.out + end), past_caches(job.PastCaches(k)) {}

  // Samples by the formula, at most kMostBeside a call.
  void Add(const RowJob<P>& job, std::int64_t begin, std::int64_t end) {
    for (std::int64_t i = begin; i < end; ++i, ++count) {
      at[count] = job.out + i;
      pixel[count] = BlendOne(job, i);
    }
  }

  P *first, *last;  // none but these are written
  bool past_caches;
  std::int64_t count = 0;  // of pixels to be put in; not cleared, which would take longer than the rest
  P* at[2 * kMostBeside];
  P pixel[2 * kMostBeside];
};

template <class D, class P>
HWY_INLINE void StoreVector(hn::Vec<D> v, D d, hn::TFromD<D>* to, const EndPixels<P>& ends) {
  const hn::Repartition<hwy::UnsignedFromSize<sizeof(P)>, D> d_pixels;
  const hn::RebindToSigned<decltype(d_pixels)> d_places;
  using Bits = hn::TFromD<decltype(d_pixels)>;
  using Place = hn::TFromD<decltype(d_places)>;
  const auto places = hn::Iota(d_places, 0);
  const auto place = [&](const P* pixel) { return pixel - reinterpret_cast<P*>(to); };
  auto pixels = hn::BitCast(d_pixels, v);
  for (std::int64_t i = 0; i < ends.count; ++i) {
    const auto here = hn::Eq(places, hn::Set(d_places, static_cast<Place>(place(ends.at[i]))));
    Bits bits;
    std::memcpy(&bits, &ends.pixel[i], sizeof bits);
    pixels = hn::IfThenElse(hn::RebindMask(d_pixels, here), hn::Set(d_pixels, bits), pixels);
  }
  if (place(ends.first) <= 0 && place(ends.last) >= static_cast<std::int64_t>(hn::Lanes(d_pixels))) {
    return StoreVector(hn::BitCast(d, pixels), d, to, ends.past_caches);
  }
  alignas(HWY_MAX_BYTES) P all[HWY_MAX_BYTES / sizeof(P)];
  hn::Store(pixels, d_pixels, reinterpret_cast<Bits*>(all));
  const auto lanes = static_cast<std::int64_t>(hn::Lanes(d_pixels));
  const std::int64_t begin = std::clamp<std::int64_t>(place(ends.first), 0, lanes);
  const std::int64_t end = std::clamp<std::int64_t>(place(ends.last), begin, lanes);
  std::memcpy(reinterpret_cast<P*>(to) + begin, all + begin, static_cast<std::size_t>(end - begin) * sizeof(P));
}

// Samples k..k+Lanes(d)-1 as far as they belong to the range. A function of its own that makes its own sampler, so that
// the one of the whole vectors stays in registers.
template <class D, class P, class Make>
HWY_NOINLINE void GridEnd(D d, std::int64_t k, const SampleRange& range, const RowJob<P>& job, const Make make) {
  const std::int64_t first = std::max(k, range.first);
  const std::int64_t last = std::min(k + static_cast<std::int64_t>(hn::Lanes(d)), range.last);
  EndPixels<P> ends(job, k, first, last);
  ends.Add(job, first, range.begin);
  ends.Add(job, range.end, last);
  StorePixels(d, make()(k), job.out + k, ends);
}

// Stores a range, whole cache lines past the caches if the job wants it. make() is a sampler, an object with all it
// reads for each vector in its own members; sample(k) yields samples k..k+Lanes(d)-1, k a multiple of that many.
template <class D, class P, class Make>
HWY_INLINE void ForGridLanes(D d, const SampleRange& range, const RowJob<P>& job, const Make make) {
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  P* const out = job.out;
  const std::int64_t end = range.end;
  std::int64_t k = range.begin / lanes * lanes;
  if (k < range.begin) {
    GridEnd(d, k, range, job, make);
    k += lanes;
  }
  const bool past_caches = job.PastCaches(k);
  const auto sample = make();
  for (; k + lanes <= end; k += lanes) {
    StorePixels(d, sample(k), out + k, past_caches);
    job.FetchAhead(k, hn::MaxLanes(D()));
  }
  if (k < end) GridEnd(d, k, range, job, make);
}

// As many samples as D has lanes of a source row that is spread: in such a row their vectors follow each other.
template <class D>
struct ColorVectors {
  using T = hn::TFromD<D>;

  static HWY_INLINE ColorVectors Load(const T* row, std::int64_t k) {
    const D d;
    const T* from = row + 3 * k;
    return {hn::LoadU(d, from), hn::LoadU(d, from + hn::Lanes(d)), hn::LoadU(d, from + 2 * hn::Lanes(d))};
  }
  HWY_INLINE void Store(T* row, std::int64_t k) const {
    const D d;
    T* to = row + 3 * k;
    hn::StoreU(red, d, to);
    hn::StoreU(green, d, to + hn::Lanes(d));
    hn::StoreU(blue, d, to + 2 * hn::Lanes(d));
  }

  hn::Vec<D> red, green, blue;
};

// A form of spread rows is two classes. Spread(held, stride, positions) of a held row; spread(k) are the colours of the
// samples from k on. Between(job, alpha) of two such rows; between(k, upper, lower) are the pixels.
template <class Spread>
using SpreadElement = hn::TFromD<typename Spread::D>;

// All samples of a held row.
template <class Spread, class Held>
HWY_NOINLINE void SpreadWhole(const Held* held, std::int64_t stride, const SamplePositions& positions, std::int64_t n,
                              SpreadElement<Spread>* out) {
  const Spread spread(held, stride, positions);
  for (std::int64_t k = 0; k < n; k += static_cast<std::int64_t>(hn::MaxLanes(typename Spread::D()))) {
    spread(k).Store(out, k);
  }
}

template <class Spread, class Between>
class SpreadSampler {
 public:
  using Element = SpreadElement<Spread>;

  HWY_INLINE SpreadSampler(const Element* upper, const Element* lower, const Between& between)
      : upper_(upper), lower_(lower), between_(between) {}

  HWY_INLINE auto operator()(std::int64_t k) const {
    using Colors = ColorVectors<typename Spread::D>;
    return between_(k, Colors::Load(upper_, k), Colors::Load(lower_, k));
  }

 private:
  const Element *upper_, *lower_;
  Between between_;
};

// Between two spread rows.
template <class Spread, class Between, class P>
HWY_NOINLINE void SpreadRange(const RowJob<P>& job, const SpreadElement<Spread>* upper,
                              const SpreadElement<Spread>* lower, std::uint32_t alpha, const SampleRange& range) {
  ForGridLanes(hn::RebindToSigned<typename Spread::D>(), range, job, [&job, upper, lower, alpha]() HWY_ATTR {
    return SpreadSampler<Spread, Between>(upper, lower, Between(job, alpha));
  });
}

template <class Spread, class Between>
class SpreadingSampler {
 public:
  using Element = SpreadElement<Spread>;

  HWY_INLINE SpreadingSampler(const Element* upper, Element* lower, const Spread& spread, const Between& between)
      : upper_(upper), lower_(lower), spread_(spread), between_(between) {}

  HWY_INLINE auto operator()(std::int64_t k) const {
    const auto colors = spread_(k);
    colors.Store(lower_, k);
    return between_(k, ColorVectors<typename Spread::D>::Load(upper_, k), colors);
  }

 private:
  const Element* upper_;
  Element* lower_;
  Spread spread_;
  Between between_;
};

// The same where the lower row is still to be spread for this range. Doing both at once is faster than one after
// the other: stores past the caches take about as long as the computing.
template <class Spread, class Between, class P>
HWY_NOINLINE void SpreadingRange(const RowJob<P>& job, const SpreadElement<Spread>* upper, SpreadElement<Spread>* lower,
                                 std::uint32_t alpha, const SampleRange& range) {
  ForGridLanes(hn::RebindToSigned<typename Spread::D>(), range, job, [&job, upper, lower, alpha]() HWY_ATTR {
    return SpreadingSampler<Spread, Between>(upper, lower, Spread(job.lower, job.stride, job.positions),
                                             Between(job, alpha));
  });
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
