// Lines in lanes of double precision, which every depth and every way to blur goes through.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pf {

// Eight lines stand side by side: sample i of line l is lanes[8 i + l]. A line of pixels takes four of them.
inline constexpr std::int64_t kLanes = 8;

// Samples -(reach + 1)..n + reach of every line are there to be read; n results are written, elsewhere.
struct LaneRun {
  const double* in;
  double* out;
  std::int64_t n;
  std::int64_t reach;
};

inline constexpr int kMaxTerms = 8;

// A kernel as a sum of cosines, w_i = sum of cosine[t][i] over the terms, where cosine[t][i] = a_t cos(f_t i) and f_0 =
// 0.
struct SeriesTerms {
  int terms;
  const double* cosine;                            // rows of reach + 1
  double twice[kMaxTerms];                         // 2 cos(f_t)
  double entering[kMaxTerms], leaving[kMaxTerms];  // a_t cos(f_t reach), a_t cos(f_t (reach + 1))
};

struct LaneKernels {
  // The sums of weights[0] * sample and weights[i] * (the two samples i away), i up to the reach.
  void (*convolve)(const LaneRun& run, const double* weights);
  // The same for weights that are a sum of 4 to 8 cosines, at a cost that does not depend on the reach.
  void (*series)(const LaneRun& run, const SeriesTerms& terms);
  // The sums of the 2 reach + 1 samples around each, times `scale`. `sums` has room for as many samples. Nothing is
  // subtracted, so nothing is left of what went by.
  void (*box)(const LaneRun& run, double scale, double* sums);
  // The high word of the largest magnitude among n samples of each line; from 0x7FF00000 on not finite.
  void (*peaks)(const double* lanes, std::int64_t n, std::uint32_t* peaks);
  // Pixels: colour times alpha, and divided by alpha again; 0 where alpha is 0.
  void (*weigh)(double* lanes, std::int64_t n);
  void (*unweigh)(double* lanes, std::int64_t n);
};

// Groups of lanes that are loaded and stored together.
struct Beside {
  std::int64_t groups = 1, apart = 0;
};

// Between values of type T and lanes. Integers are rounded, halves up, and limited to 0..full.
template <class T>
struct LaneValueKernels {
  // Eight values side by side at each of n places, `step` bytes apart; and those beside them, to and from lanes that
  // are `apart` doubles away, for as many groups of eight.
  void (*load_across)(const T* at, std::int64_t step, std::int64_t n, double* lanes, Beside beside);
  void (*store_across)(const double* lanes, std::int64_t n, T* at, std::int64_t step, Beside beside);
  // n pixels side by side, to and from four of the lanes.
  void (*load_along)(const T* at, std::int64_t n, double* lanes);
  void (*store_along)(const double* lanes, std::int64_t n, T* at);
  // The same past the caches, where the pixels lie so that this can be; they are there after `settle`.
  void (*stream_along)(const double* lanes, std::int64_t n, T* at);
  void (*settle)();
};

struct BlurKernels {
  LaneKernels lanes;
  LaneValueKernels<std::uint8_t> of8;
  LaneValueKernels<std::uint16_t> of16;
  LaneValueKernels<float> of_float;

  template <class T>
  const LaneValueKernels<T>& Of() const {
    if constexpr (sizeof(T) == 1) {
      return of8;
    } else if constexpr (sizeof(T) == 2) {
      return of16;
    } else {
      return of_float;
    }
  }
};

// Plain C++: the reference.
extern const BlurKernels kPortableBlurKernels;
// The widest target that is allowed.
const BlurKernels& VectorBlurKernels();

}  // namespace pf
