// Boxes of floats in double precision. This file is included by filter/Wide-body.h, inside a namespace that has what is
// said there, and StreamValues(v, p).

template <class T>
T* Moved(T* at, std::int64_t bytes) {
  using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(at) + bytes);
}

// Vectors of lines that are worked on together: of lines side by side, or each of a line of its own.
template <class R, std::size_t vectors, bool side_by_side, bool streams>
struct BoxVectors {
  using Number = R;
  static constexpr std::size_t kVectors = vectors;
  static constexpr bool kStreams = streams, kInParts = side_by_side;
  using Sample = std::conditional_t<kInParts, float, double>;

  static constexpr std::int64_t Lanes(std::size_t k) { return static_cast<std::int64_t>(k) * kLanesOf<R>(); }
  static constexpr std::int64_t Row() { return Lanes(kVectors); }
  // Bytes from the first vector to vector k.
  static std::int64_t Apart(std::size_t k, std::int64_t of_lines) {
    return side_by_side ? Lanes(k) * static_cast<std::int64_t>(sizeof(float)) : static_cast<std::int64_t>(k) * of_lines;
  }
  // The vectors' samples.
  static void Take(const float* from, std::int64_t, float* to) { std::memcpy(to, from, Row() * sizeof(float)); }
  static void Take(const float* from, std::int64_t of_lines, double* to) {
    for (std::size_t k = 0; k < kVectors; ++k) Store(LoadValues<R>(Moved(from, Apart(k, of_lines))), to + Lanes(k));
  }
  static R Taken(const float* sample) { return LoadValues<R>(sample); }
  static R Taken(const double* sample) { return Load<R>(sample); }
  // Steps that it takes to fetch samples.
  static constexpr std::int64_t kAhead = side_by_side ? 32 : 64;
  // Lines of the cache. Those of rows below each other fall into few sets of the nearest cache and wait for it in its
  // few buffers: the next cache has more of both.
  static void Fetch(const float* at, std::int64_t of_lines, std::size_t first, std::size_t end) {
    for (std::size_t k = first; k < end; ++k) {
      const auto* const bytes = reinterpret_cast<const std::byte*>(Moved(at, Apart(k, of_lines)));
      if (!side_by_side) {
        Prefetch(bytes);
      } else if (Apart(k, 0) % 64 == 0) {
        PrefetchFar(bytes);
      }
    }
  }
};

// In blocks as long as a window: every window is the end of one block and the beginning of the next one, whose samples
// take the places of those that leave. The sums of long blocks of many lines would not stay in the nearest cache: these
// are summed twice, once through the block, of which the sum of each part is kept, and again through the part whose
// results are next.
template <class V>
class BoxLine {
  using R = typename V::Number;

 public:
  BoxLine(const BoxLines& lines, std::int64_t x)
      : lines_(lines), x_(x), window_(2 * lines.reach + 1), part_(V::kInParts ? kBoxPart : window_) {}

  void Run() {
    Enter<false>(-lines_.reach, window_, 0, 0);
    for (std::int64_t begin = 0; begin < lines_.length; begin += window_) {
      const std::int64_t count = std::min(window_, lines_.length - begin);
      SumParts();
      for (std::size_t k = 0; k < V::kVectors; ++k) beginning_[k] = R(0);
      for (std::int64_t i = 0; i < count; i += part_) {
        SumEnds(begin, i);
        Enter<true>(begin + lines_.reach + 1 + i, std::min(part_, count - i), begin + i, i);
      }
    }
  }

 private:
  // Samples first..first + count - 1, which may lie beyond the ends, to place i and on; where they slide, results from
  // `out` on.
  template <bool slides>
  void Enter(std::int64_t first, std::int64_t count, std::int64_t out, std::int64_t i) {
    static constexpr float kNothing[kBoxRow] = {};
    if constexpr (slides) {  // short windows come here often
      if (first >= 0 && first + count <= lines_.length) {
        WidePlace<const float> in = lines_.in;
        in.at = Moved(in.at + x_, first * in.step);
        return Slide(in, OutAt(out), i, 0, count, Ahead(first));
      }
    }
    for (std::int64_t at = first; at < first + count;) {
      const std::int64_t inside = std::clamp<std::int64_t>(at, 0, lines_.length - 1);
      const std::int64_t end = std::min(at < 0 ? 0 : at < lines_.length ? lines_.length : first + count, first + count);
      WidePlace<const float> in = lines_.in;
      in.at = Moved(in.at + x_, inside * in.step);
      if (at != inside) in.step = 0;
      if (at != inside && lines_.transparent) in = {kNothing, 0, 0};
      const std::int64_t passed = at - first;
      if constexpr (slides) {
        Slide(in, OutAt(out + passed), i, passed, end - at, Ahead(at));
      } else {
        Take(in, i + passed, end - at, Ahead(at));
      }
      at = end;
    }
  }

  float* OutAt(std::int64_t i) const { return Moved(lines_.out.at + x_, i * lines_.out.step); }
  // What is fetched when sample i is reached: one that is further on, or the next lines' behind the last one.
  const float* Ahead(std::int64_t i) const {
    i += V::kAhead;
    const bool next = i >= lines_.length;
    const float* const at = Moved(lines_.in.at + x_, (next ? i - lines_.length : i) * lines_.in.step);
    return next ? Moved(at, V::Apart(V::kVectors, lines_.in.apart)) : at;
  }

  // Samples that are not in parts make room for their sums, and come in where those have left.
  auto* SampleAt(std::int64_t i) const {
    if constexpr (V::kInParts) {
      return lines_.samples + i * V::Row();
    } else {
      return SumAt(i);
    }
  }
  double* SumAt(std::int64_t i) const { return lines_.sums + i * V::Row(); }
  // The sum of samples i and on, where a part begins.
  double* PartAt(std::int64_t i) const { return SumAt(part_ + i / part_); }

  void Take(const WidePlace<const float>& from, std::int64_t i, std::int64_t steps, const float* ahead) const {
    const float* in = from.at;
    for (auto* to = SampleAt(i); steps > 0; --steps, in = Moved(in, from.step), to += V::Row()) {
      if (V::kInParts) V::Fetch(ahead, 0, 0, V::kVectors);
      ahead = Moved(ahead, lines_.in.step);
      V::Take(in, from.apart, to);
    }
  }

  // Samples i + steps - 1 down to i; each sum, or the last one alone, goes to `sums`. Meanwhile half of what is
  // `ahead` is fetched.
  template <bool each>
  void Add(std::int64_t i, std::int64_t steps, R* total, double* sums, const float* ahead) const {
    R sum[V::kVectors];
    for (std::size_t k = 0; k < V::kVectors; ++k) sum[k] = total[k];
    const typename V::Sample* from = SampleAt(i + steps);
    if (each) sums += steps * V::Row();
    for (; steps > 0; --steps) {
      from -= V::Row();
      if (each) sums -= V::Row();
      if (each && V::kInParts) {
        V::Fetch(ahead, 0, 0, V::kVectors / 2);
        ahead = Moved(ahead, lines_.in.step);
      }
      for (std::size_t k = 0; k < V::kVectors; ++k) {
        sum[k] = sum[k] + V::Taken(from + V::Lanes(k));
        if (each) Store(sum[k], sums + V::Lanes(k));
      }
    }
    for (std::size_t k = 0; k < V::kVectors; ++k) {
      total[k] = sum[k];
      if (!each) Store(sum[k], sums + V::Lanes(k));
    }
  }

  // Each part's sum to the end of the window.
  void SumParts() const {
    R sum[V::kVectors];
    for (std::size_t k = 0; k < V::kVectors; ++k) sum[k] = R(0);
    for (std::int64_t i = (window_ - 1) / part_ * part_; i > 0; i -= part_) {
      Add<false>(i, std::min(part_, window_ - i), sum, PartAt(i), nullptr);
    }
  }
  // Of the part at i, each sample's.
  void SumEnds(std::int64_t begin, std::int64_t i) const {
    const std::int64_t behind = i + part_;
    R sum[V::kVectors];
    for (std::size_t k = 0; k < V::kVectors; ++k) {
      sum[k] = behind < window_ ? Load<R>(PartAt(behind) + V::Lanes(k)) : R(0);
    }
    Add<true>(i, std::min(part_, window_ - i), sum, SumAt(0), Ahead(begin + lines_.reach + 1 + i));
  }

  // From sum `passed` of the part that begins at sample i.
  void Slide(const WidePlace<const float>& from, float* out, std::int64_t i, std::int64_t passed, std::int64_t steps,
             const float* ahead) {
    const float* in = from.at;
    const std::int64_t ahead_step = lines_.in.step, ahead_apart = lines_.in.apart, in_step = from.step,
                       out_step = lines_.out.step;
    const std::int64_t in_apart = from.apart, out_apart = lines_.out.apart;
    const double* sums = SumAt(passed);
    auto* to = SampleAt(i + passed);
    const bool fetches_out = !V::kStreams && lines_.in.at != lines_.out.at;
    const R scale(lines_.scale);
    R beginning[V::kVectors];
    for (std::size_t k = 0; k < V::kVectors; ++k) beginning[k] = beginning_[k];
    for (; steps > 0; --steps) {
      V::Fetch(ahead, ahead_apart, V::kInParts ? V::kVectors / 2 : 0, V::kVectors);
      if (fetches_out) V::Fetch(Moved(out, V::kAhead * out_step), out_apart, 0, V::kVectors);
      for (std::size_t k = 0; k < V::kVectors; ++k) {
        float* const next_out = Moved(out, V::Apart(k, out_apart));
        const R mean = (Load<R>(sums + V::Lanes(k)) + beginning[k]) * scale;
        if constexpr (V::kStreams) {
          StreamValues(mean, next_out);
        } else {
          StoreValues(mean, next_out);
        }
        const R next = LoadValues<R>(Moved(in, V::Apart(k, in_apart)));
        beginning[k] = beginning[k] + next;
        if constexpr (!V::kInParts) Store(next, to + V::Lanes(k));
      }
      if constexpr (V::kInParts) V::Take(in, in_apart, to);
      in = Moved(in, in_step);
      ahead = Moved(ahead, ahead_step);
      out = Moved(out, out_step);
      sums += V::Row();
      to += V::Row();
    }
    for (std::size_t k = 0; k < V::kVectors; ++k) beginning_[k] = beginning[k];
  }

  const BoxLines& lines_;
  std::int64_t x_, window_, part_;
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
