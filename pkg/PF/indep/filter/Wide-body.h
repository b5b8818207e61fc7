// Blurs of values that are widened to double precision. This file is included inside a namespace that has, for R a
// double or lanes of them, Load<R>(p), Store(v, p), kLanesOf<R>(), LoadValues<R>(p) and StoreValues(v, p) of values,
// StorePixels(sums, p, streams) of four pixels' values, and the types RD, and RP of not more than four lanes.

#include "filter/Convolve-body.h"

template <class T>
T* Moved(T* at, std::int64_t bytes) {
  using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(at) + bytes);
}

template <class T>
void Widen(const T* in, std::int64_t n, double* out, const T* ahead) {
  constexpr std::int64_t kLine = 64 / static_cast<std::int64_t>(sizeof(T));
  std::int64_t x = 0;
  for (; x + kLine <= n; x += kLine) {
    Prefetch(reinterpret_cast<const std::byte*>(ahead + x));
    for (std::int64_t i = 0; i < kLine; i += kLanesOf<RD>()) Store(LoadValues<RD>(in + x + i), out + x + i);
  }
  for (; x < n; x += kLanesOf<RP>()) Store(LoadValues<RP>(in + x), out + x);
}

// \name Bells
// @{
struct RowTaps {
  const double* const* rows;  // the first result's own
  std::int64_t x;

  const double* operator()(std::int64_t i) const { return rows[i] + x; }
};
struct PixelTaps {
  const double* at;

  const double* operator()(std::int64_t i) const { return at + 4 * i; }
};

template <class R, class T>
void BellAcrossAt(const double* const* rows, const WideWeights& weights, T* const* out, std::int64_t x) {
  const FourSums<R> sums = ConvolvedFour<R>(RowTaps{rows + weights.reach, x}, weights.values, weights.reach);
  StoreValues(sums.sum0, out[0] + x);
  StoreValues(sums.sum1, out[1] + x);
  StoreValues(sums.sum2, out[2] + x);
  StoreValues(sums.sum3, out[3] + x);
}

template <class T>
void BellAcross(const double* const* rows, const WideWeights& weights, T* const* out, std::int64_t n) {
  std::int64_t x = 0;
  for (; x + kLanesOf<RD>() <= n; x += kLanesOf<RD>()) BellAcrossAt<RD>(rows, weights, out, x);
  for (; x < n; x += kLanesOf<RP>()) BellAcrossAt<RP>(rows, weights, out, x);
}

template <class T>
void BellAlong(const double* in, const WideWeights& weights, T* out, std::int64_t n, bool streams) {
  const std::int64_t reach = weights.reach;
  std::int64_t i = 0;
  for (; i + 4 <= n; i += 4) {
    for (std::int64_t c = 0; c < 4; c += kLanesOf<RP>()) {
      const double* const at = in + 4 * (i + reach) + c;
      StorePixels(ConvolvedFour<RP>(PixelTaps{at}, weights.values, reach), out + 4 * i + c, streams);
    }
  }
  for (; i < n; ++i) {
    for (std::int64_t c = 0; c < 4; c += kLanesOf<RP>()) {
      const double* const at = in + 4 * (i + reach) + c;
      StoreValues(Convolved<RP>(PixelTaps{at}, weights.values, reach), out + 4 * i + c);
    }
  }
}
// @}

// \name Boxes
// @{

// Vectors of lines that are worked on together: of lines side by side, or each of a line of its own.
template <class R, std::size_t vectors, bool side_by_side, bool streams>
struct BoxVectors {
  using Number = R;
  static constexpr std::size_t kVectors = vectors;
  static constexpr bool kStreams = streams;

  static constexpr std::int64_t Lanes(std::size_t k) { return static_cast<std::int64_t>(k) * kLanesOf<R>(); }
  static constexpr std::int64_t Row() { return Lanes(kVectors); }
  // Bytes from the first vector to vector k.
  static std::int64_t Apart(std::size_t k, std::int64_t of_lines) {
    return side_by_side ? Lanes(k) * static_cast<std::int64_t>(sizeof(float)) : static_cast<std::int64_t>(k) * of_lines;
  }
  // Lines of the cache, as far ahead as it takes to fetch them. Those of rows below each other fall into few sets of
  // the nearest cache and wait for it in its few buffers: the next cache has more of both.
  static void Fetch(const float* at, std::int64_t step, std::size_t k) {
    const auto* const bytes = reinterpret_cast<const std::byte*>(at);
    if (!side_by_side) {
      Prefetch(bytes + 64 * step);
    } else if (Apart(k, 0) % 64 == 0) {
      PrefetchFar(bytes + 32 * step);
    }
  }
};

// In blocks as long as a window: every window is the end of one block and the beginning of the next one, whose samples
// take the places of those that leave.
template <class V>
class BoxLine {
  using R = typename V::Number;

 public:
  BoxLine(const BoxLines& lines, std::int64_t x) : lines_(lines), x_(x) {}

  void Run() {
    const std::int64_t window = 2 * lines_.reach + 1;
    Enter<false>(-lines_.reach, window, 0);
    for (std::int64_t begin = 0; begin < lines_.length; begin += window) {
      SumEnds(window);
      for (std::size_t k = 0; k < V::kVectors; ++k) beginning_[k] = R(0);
      Enter<true>(begin + lines_.reach + 1, std::min(window, lines_.length - begin), begin);
    }
  }

 private:
  // Samples first..first + count - 1, which may lie beyond the ends; where they slide, results from `out` on.
  template <bool slides>
  void Enter(std::int64_t first, std::int64_t count, std::int64_t out) {
    static constexpr float kNothing[kBoxRow] = {};
    for (std::int64_t i = 0; i < count;) {
      const std::int64_t at = first + i, inside = std::clamp<std::int64_t>(at, 0, lines_.length - 1);
      const std::int64_t end = std::min(at < 0 ? 0 : at < lines_.length ? lines_.length : first + count, first + count);
      WidePlace<const float> in = lines_.in;
      in.at = Moved(in.at + x_, inside * in.step);
      if (at != inside) in.step = 0;
      if (at != inside && lines_.transparent) in = {kNothing, 0, 0};
      if constexpr (slides) {
        Slide(in, Moved(lines_.out.at + x_, (out + i) * lines_.out.step), i, end - at);
      } else {
        Take(in, i, end - at);
      }
      i += end - at;
    }
  }

  void Take(const WidePlace<const float>& from, std::int64_t i, std::int64_t steps) const {
    const float* in = from.at;
    double* sums = lines_.sums + i * V::Row();
    for (; steps > 0; --steps, in = Moved(in, from.step), sums += V::Row()) {
      for (std::size_t k = 0; k < V::kVectors; ++k) {
        Store(LoadValues<R>(Moved(in, V::Apart(k, from.apart))), sums + V::Lanes(k));
      }
    }
  }

  // Each sample's sum to the end of the window.
  void SumEnds(std::int64_t window) const {
    R end[V::kVectors];
    for (std::size_t k = 0; k < V::kVectors; ++k) end[k] = R(0);
    double* sums = lines_.sums + window * V::Row();
    for (; window > 0; --window) {
      sums -= V::Row();
      for (std::size_t k = 0; k < V::kVectors; ++k) {
        end[k] = end[k] + Load<R>(sums + V::Lanes(k));
        Store(end[k], sums + V::Lanes(k));
      }
    }
  }

  void Slide(const WidePlace<const float>& from, float* out, std::int64_t i, std::int64_t steps) {
    const float* in = from.at;
    const std::int64_t in_step = from.step, out_step = lines_.out.step;
    const std::int64_t in_apart = from.apart, out_apart = lines_.out.apart;
    double* sums = lines_.sums + i * V::Row();
    const bool fetches_out = !V::kStreams && lines_.in.at != lines_.out.at;
    const R scale(lines_.scale);
    R beginning[V::kVectors];
    for (std::size_t k = 0; k < V::kVectors; ++k) beginning[k] = beginning_[k];
    for (; steps > 0; --steps) {
      for (std::size_t k = 0; k < V::kVectors; ++k) {
        const float* const next_in = Moved(in, V::Apart(k, in_apart));
        float* const next_out = Moved(out, V::Apart(k, out_apart));
        double* const sum = sums + V::Lanes(k);
        V::Fetch(next_in, in_step, k);
        if (fetches_out) V::Fetch(next_out, out_step, k);
        const R mean = (Load<R>(sum) + beginning[k]) * scale;
        if constexpr (V::kStreams) {
          StreamValues(mean, next_out);
        } else {
          StoreValues(mean, next_out);
        }
        const R next = LoadValues<R>(next_in);
        beginning[k] = beginning[k] + next;
        Store(next, sum);
      }
      in = Moved(in, in_step);
      out = Moved(out, out_step);
      sums += V::Row();
    }
    for (std::size_t k = 0; k < V::kVectors; ++k) beginning_[k] = beginning[k];
  }

  const BoxLines& lines_;
  std::int64_t x_;
  R beginning_[V::kVectors];  // the sum of what came in behind the block
};

// Values side by side.
void BoxColumns(const BoxLines& lines, std::int64_t n) {
  using Wide = BoxVectors<RD, 8, true, false>;
  using Pair = BoxVectors<RD, 2, true, false>;
  std::int64_t x = 0;
  for (; x + Wide::Row() <= n; x += Wide::Row()) BoxLine<Wide>(lines, x).Run();
  for (; x + Pair::Row() <= n; x += Pair::Row()) BoxLine<Pair>(lines, x).Run();
  for (; x < n; x += kLanesOf<RP>()) BoxLine<BoxVectors<RP, 1, true, false>>(lines, x).Run();
}

// Pixels of one row or two: sums that do not wait for each other.
template <bool streams>
void BoxRowsTo(const BoxLines& lines, std::int64_t n) {
  for (std::int64_t c = 0; c < 4; c += kLanesOf<RP>()) {
    if (n == 2) {
      BoxLine<BoxVectors<RP, 2, false, streams>>(lines, c).Run();
    } else {
      BoxLine<BoxVectors<RP, 1, false, streams>>(lines, c).Run();
    }
  }
}
void BoxRows(const BoxLines& lines, std::int64_t n, bool streams) {
  const auto place =
      reinterpret_cast<std::uintptr_t>(lines.out.at) | static_cast<std::uintptr_t>(n == 2 ? lines.out.apart : 0);
  streams&& place % 16 == 0 ? BoxRowsTo<true>(lines, n) : BoxRowsTo<false>(lines, n);
}
// @}

constexpr WideKernels kKernels = {{&Widen<std::uint16_t>, &BellAcross<std::uint16_t>, &BellAlong<std::uint16_t>},
                                  {&Widen<float>, &BellAcross<float>, &BellAlong<float>},
                                  &BoxColumns,
                                  &BoxRows,
                                  &Settle};
