// Pixels of four channels.

// Leaves -1..1 alone and draws what lies beyond into -2..2, without a step or a bend.
PF_INLINE F DrawnIn(F v) {
  const F one(1), zero(0);
  const F far = Select(v < zero, F(-2), F(2)) - one / Select(Abs(v) > one, v, one);
  return Select(Abs(v) > one, far, v);
}

void HalveColour(const HalfColour& frame, Rows rows, float* line) {
  const std::int64_t width = frame.full.width, last = frame.full.height - 1;
  const F scale(static_cast<double>(frame.scale));
  const Four weights(frame.weights[0], frame.weights[1], frame.weights[2], frame.weights[3]);
  for (std::int64_t y = rows.begin; y < rows.end; ++y) {
    const float* r[5];
    for (int i = 0; i < 5; ++i) r[i] = frame.full.Row(std::clamp<std::int64_t>(2 * y + i - 2, 0, last));
    for (std::int64_t i = 0; i < 4 * width; i += kStep) {
      const auto at = [&](int row) { return frame.bounded ? Load(r[row] + i) : DrawnIn(Load(r[row] + i)); };
      Store(Sum5(at(0), at(1), at(2), at(3), at(4)) * scale, line + i);
    }
    for (int i = 0; i < 4; ++i) {
      line[i - 8] = line[i - 4] = line[i];
      line[4 * width + i] = line[4 * width + 4 + i] = line[4 * width + 8 + i] = line[4 * width - 4 + i];
    }
    float *colour = frame.half.Row(y), *level = frame.level.Row(y);
    for (std::int64_t x = 0; x < frame.half.width; ++x) {
      const float* p = line + 8 * x;
      const Four outer = LoadFour(p - 8) + LoadFour(p + 8), inner = LoadFour(p - 4) + LoadFour(p + 4);
      const Four pixel = outer * Four(1.0f / 16) + (inner * Four(0.25f) + LoadFour(p) * Four(0.375f));
      StoreFour(pixel, colour + 4 * x);
      level[x] = Total(pixel * weights) + frame.offset;
    }
  }
}

// Limits what is not a number too.
PF_INLINE float Inside(float v, std::int32_t extent) {
  return plain::Min(plain::Max(v, 0.0f), static_cast<float>(extent - 1));
}

PF_INLINE Four FetchLinear(const ColourPlane& plane, float x, float y) {
  x = Inside(x, plane.width);
  y = Inside(y, plane.height);
  const auto column = static_cast<std::int64_t>(x), row = static_cast<std::int64_t>(y);
  const Four a(x - static_cast<float>(column)), b(y - static_cast<float>(row));
  const float* p = plane.Row(row) + 4 * column;
  const std::int64_t right = column + 1 < plane.width ? 4 : 0, down = row + 1 < plane.height ? plane.stride : 0;
  const Four upper = LoadFour(p) + (LoadFour(p + right) - LoadFour(p)) * a;
  const Four lower = LoadFour(p + down) + (LoadFour(p + down + right) - LoadFour(p + down)) * a;
  return upper + (lower - upper) * b;
}

void Compare(const Meeting& m, const FloatPlane& out, Rows rows) {
  constexpr float kMost = 60, kOutside = 30;
  const auto right = static_cast<float>(out.width) - 0.5f, bottom = static_cast<float>(out.height) - 0.5f;
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const float *u = m.flow.u.Row(y), *v = m.flow.v.Row(y);
    float* to = out.Row(y);
    const std::uint8_t* const wanted =
        m.wanted == nullptr ? nullptr : m.wanted + std::int64_t{y - rows.begin} * out.width;
    for (std::int32_t x = 0; x < out.width; ++x) {
      if (wanted != nullptr && wanted[x] == 0) continue;
      const auto left = static_cast<float>(x), top = static_cast<float>(y);
      const float ax = left - m.time * u[x], ay = top - m.time * v[x];
      const float bx = left + (1 - m.time) * u[x], by = top + (1 - m.time) * v[x];
      const float difference = Total(Magnitude(FetchLinear(m.previous, ax, ay) - FetchLinear(m.next, bx, by)));
      const bool outside = plain::Min(ax, bx) < -0.5f || plain::Min(ay, by) < -0.5f || plain::Max(ax, bx) > right ||
                           plain::Max(ay, by) > bottom;
      to[x] = outside ? kOutside : plain::Min(difference * (1.0f / 3), kMost);
    }
    FinishRow(to, out.width);
  }
}

// The cubic of Catmull and Rom at four positions at once.
struct CubicWeights {
  Four w[4];
};
PF_INLINE CubicWeights CubicAt(Four t) {
  const Four half(0.5f), one(1.0f), two(2.0f);
  return {{((two - t) * t - one) * t * half, ((Four(3.0f) * t - Four(5.0f)) * t * t + two) * half,
           ((Four(4.0f) - Four(3.0f) * t) * t + one) * t * half, (t - one) * t * t * half}};
}

template <int kX, int kY, bool kLimited>
PF_INLINE Four FetchCubic(const ColourPlane& plane, std::int64_t column, std::int64_t row,
                          const CubicWeights& weights) {
  const float* p = plane.Row(row - 1) + 4 * (column - 1);
  Four columns[4] = {Four(0.0f), Four(0.0f), Four(0.0f), Four(0.0f)};
  Four least = LoadFour(p), largest = least;
  for (int j = 0; j < 4; ++j, p += plane.stride) {
    const Four weight = Repeat<kY>(weights.w[j]);
    for (int i = 0; i < 4; ++i) {
      const Four pixel = LoadFour(p + 4 * i);
      columns[i] = columns[i] + weight * pixel;
      if constexpr (kLimited) {
        least = SmallerOf(least, pixel);
        largest = LargerOf(largest, pixel);
      }
    }
  }
  const Four sum = (Repeat<kX>(weights.w[0]) * columns[0] + Repeat<kX>(weights.w[1]) * columns[1]) +
                   (Repeat<kX>(weights.w[2]) * columns[2] + Repeat<kX>(weights.w[3]) * columns[3]);
  return kLimited ? SmallerOf(LargerOf(sum, least), largest) : sum;
}

// Where the two frames are fetched for one pixel.
struct Places {
  float x0, y0, x1, y1;
};

template <bool kLimited>
PF_INLINE Four MixCubic(const FetchRow& row, const Places& at, Four share, Four rest) {
  const float x0 = Inside(at.x0, row.previous.width), y0 = Inside(at.y0, row.previous.height);
  const float x1 = Inside(at.x1, row.previous.width), y1 = Inside(at.y1, row.previous.height);
  const auto c0 = static_cast<std::int64_t>(x0), r0 = static_cast<std::int64_t>(y0);
  const auto c1 = static_cast<std::int64_t>(x1), r1 = static_cast<std::int64_t>(y1);
  const CubicWeights weights = CubicAt(Four(x0 - static_cast<float>(c0), y0 - static_cast<float>(r0),
                                            x1 - static_cast<float>(c1), y1 - static_cast<float>(r1)));
  return share * FetchCubic<0, 1, kLimited>(row.previous, c0, r0, weights) +
         rest * FetchCubic<2, 3, kLimited>(row.next, c1, r1, weights);
}

void FetchPixels(const FetchRow& row, float* out) {
  for (std::int32_t x = 0; x < row.width; ++x) {
    const auto left = static_cast<float>(x), top = static_cast<float>(row.y);
    const Places at = {left + row.back * row.u[x], top + row.back * row.v[x], left + row.forth * row.u[x],
                       top + row.forth * row.v[x]};
    const Four share(row.share[x]), rest(1 - row.share[x]);
    if (!row.cubic) {
      StoreFour(share * FetchLinear(row.previous, at.x0, at.y0) + rest * FetchLinear(row.next, at.x1, at.y1),
                out + 4 * x);
    } else if (row.limited) {
      StoreFour(MixCubic<true>(row, at, share, rest), out + 4 * x);
    } else {
      StoreFour(MixCubic<false>(row, at, share, rest), out + 4 * x);
    }
  }
}
