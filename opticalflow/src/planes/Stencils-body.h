// Small neighbourhoods. This file, like the other bodies here, is included inside a namespace that has lanes of floats
// F (a float, or a vector of them) and what is done with them: portable_motion.cc and FlowLanes-inl.h.

F Sum5(F a, F b, F c, F d, F e) { return (a + e) * F(1.0 / 16) + ((b + d) * F(0.25) + c * F(0.375)); }

void Halve(const FloatPlane& in, const FloatPlane& out, Rows rows, float* line) {
  for (std::int64_t y = rows.begin; y < rows.end; ++y) {
    const float* r[5];
    for (int i = 0; i < 5; ++i) r[i] = in.ClampedRow(2 * y + i - 2);
    for (std::int64_t x = 0; x < in.width; x += kStep) {
      Store(Sum5(Load(r[0] + x), Load(r[1] + x), Load(r[2] + x), Load(r[3] + x), Load(r[4] + x)), line + x);
    }
    FinishRow(line, in.width, 3);
    float* to = out.Row(y);
    for (std::int64_t x = 0; x < out.width; x += kStep) {
      F a, b, c, d, e, unused;
      LoadPairs(line + 2 * x - 2, a, b);
      LoadPairs(line + 2 * x, c, d);
      LoadPairs(line + 2 * x + 2, e, unused);
      Store(Sum5(a, b, c, d, e), to + x);
    }
    FinishRow(to, out.width);
  }
}

void Twice(const FloatPlane& in, float scale, const FloatPlane& out, Rows rows, float* line) {
  for (std::int64_t y = rows.begin; y < rows.end; ++y) {
    const float *upper = in.ClampedRow(y / 2), *lower = in.ClampedRow((y + 1) / 2);
    const F half(0.5 * static_cast<double>(scale));
    for (std::int64_t x = 0; x < in.width; x += kStep) Store((Load(upper + x) + Load(lower + x)) * half, line + x);
    FinishRow(line, in.width, 1);
    float* to = out.Row(y);
    for (std::int64_t x = 0; x < out.width; x += 2 * kStep) {
      const F here = Load(line + x / 2), next = Load(line + x / 2 + 1);
      StorePairs(here, (here + next) * F(0.5), to + x);
    }
    FinishRow(to, out.width);
  }
}

// Of three, in order.
void Sort(F& a, F& b, F& c) {
  const F low = Min(a, b), high = Max(a, b);
  const F middle = Max(low, c);
  a = Min(low, c);
  b = Min(middle, high);
  c = Max(middle, high);
}

// The median of 3 x 3 is that of the largest of the least, the middle of the middle and the least of the largest of
// columns.
void Median(const FloatPlane& in, const FloatPlane& out, Rows rows) {
  for (std::int64_t y = rows.begin; y < rows.end; ++y) {
    const float *upper = in.ClampedRow(y - 1), *here = in.Row(y), *lower = in.ClampedRow(y + 1);
    float* to = out.Row(y);
    for (std::int64_t x = 0; x < in.width; x += kStep) {
      F least[3], middle[3], largest[3];
      for (int i = 0; i < 3; ++i) {
        least[i] = Load(upper + x + i - 1);
        middle[i] = Load(here + x + i - 1);
        largest[i] = Load(lower + x + i - 1);
        Sort(least[i], middle[i], largest[i]);
      }
      F a = Max(Max(least[0], least[1]), least[2]), c = Min(Min(largest[0], largest[1]), largest[2]);
      Sort(middle[0], middle[1], middle[2]);
      F b = middle[1];
      Sort(a, b, c);
      Store(b, to + x);
    }
    FinishRow(to, in.width);
  }
}

void Mean(const FloatPlane& in, const FloatPlane& out, Rows rows, float* line) {
  for (std::int64_t y = rows.begin; y < rows.end; ++y) {
    const float* r[5];
    for (int i = 0; i < 5; ++i) r[i] = in.ClampedRow(y + i - 2);
    for (std::int64_t x = 0; x < in.width; x += kStep) {
      Store(((Load(r[0] + x) + Load(r[4] + x)) + (Load(r[1] + x) + Load(r[3] + x))) + Load(r[2] + x), line + x);
    }
    FinishRow(line, in.width);
    float* to = out.Row(y);
    for (std::int64_t x = 0; x < in.width; x += kStep) {
      const F outer = Load(line + x - 2) + Load(line + x + 2), inner = Load(line + x - 1) + Load(line + x + 1);
      Store(((outer + inner) + Load(line + x)) * F(1.0 / 25), to + x);
    }
    FinishRow(to, in.width);
  }
}
