// How motions and frames fit each other.

// A share of the other direction's motion, and by how much both together miss where they began.
struct Fit {
  F miss2;    // squared
  F length2;  // of both, squared
  F x, y;     // where the motion leads
};

PF_INLINE Fit FitOf(const Consistency& pair, std::int32_t x, std::int32_t y) {
  const F u = Load(pair.there.u.Row(y) + x), v = Load(pair.there.v.Row(y) + x);
  const F to_x = Ramp(x) + u, to_y = F(static_cast<double>(y)) + v;
  const F back_u = Fetch(pair.back.u, to_x, to_y), back_v = Fetch(pair.back.v, to_x, to_y);
  const F miss_u = u + back_u, miss_v = v + back_v;
  return {miss_u * miss_u + miss_v * miss_v, (u * u + v * v) + (back_u * back_u + back_v * back_v), to_x, to_y};
}

// Whether a place lies further outside than `margin`.
PF_INLINE M IsOutside(const FloatPlane& plane, F x, F y, double margin) {
  const F least(-margin), right(plane.width - 1 + margin), bottom(plane.height - 1 + margin);
  return (x < least) | (y < least) | (x > right) | (y > bottom);
}

void Hidden(const Consistency& pair, const FloatPlane& out, Rows rows) {
  const F share(static_cast<double>(pair.share)), zero(0), one(1);
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    float* to = out.Row(y);
    for (std::int32_t x = 0; x < out.width; x += kStep) {
      const Fit fit = FitOf(pair, x, y);
      const F allowed = Min(share * fit.length2, F(16)) + F(0.75);
      const F excess = (fit.miss2 / allowed - one) * F(1.0 / 3);
      Store(Select(IsOutside(out, fit.x, fit.y, 0.5), one, Min(Max(excess, zero), one)), to + x);
    }
    FinishRow(to, out.width);
  }
}

void Doubt(const Consistency& pair, const FloatPlane& from, const FloatPlane& to, const FloatPlane& out, Rows rows) {
  const F zero(0), outside(4), most(8);
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    for (std::int32_t x = 0; x < out.width; x += kStep) {
      const Fit fit = FitOf(pair, x, y);
      const F change = Abs(Load(from.Row(y) + x) - Fetch(to, fit.x, fit.y));
      const F doubt =
          Sqrt(fit.miss2) * F(0.4) + change * F(0.1) + Select(IsOutside(out, fit.x, fit.y, 0), outside, zero);
      Store(Min(doubt, most), out.Row(y) + x);
    }
  }
}

void Seen(const FloatPlane& hidden_previous, const FloatPlane& hidden_next, const FlowPlanes& flow, float time,
          const FloatPlane& previous, const FloatPlane& next, const FloatPlane& trust, Rows rows) {
  const F back(static_cast<double>(-time)), forth(static_cast<double>(1 - time)), one(1), zero(0);
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const F top(static_cast<double>(y));
    for (std::int32_t x = 0; x < previous.width; x += kStep) {
      const F u = Load(flow.u.Row(y) + x), v = Load(flow.v.Row(y) + x), left = Ramp(x);
      const F ax = left + back * u, ay = top + back * v, bx = left + forth * u, by = top + forth * v;
      const F a = Fetch(hidden_previous, ax, ay), b = Fetch(hidden_next, bx, by);
      // A frame does not show what lies outside it, where the other one does.
      const M out_a = IsOutside(previous, ax, ay, 0.5), out_b = IsOutside(previous, bx, by, 0.5);
      const F seen_a = Select(out_a & !out_b, zero, Select(out_b & !out_a, one, one - b * (one - a)));
      const F seen_b = Select(out_b & !out_a, zero, Select(out_a & !out_b, one, one - a * (one - b)));
      Store(seen_a, previous.Row(y) + x);
      Store(seen_b, next.Row(y) + x);
      const M outside = IsOutside(previous, ax, ay, 0) | IsOutside(previous, bx, by, 0);
      Store(Select(outside, zero, Min(seen_a, seen_b)), trust.Row(y) + x);
    }
    for (const FloatPlane* plane : {&previous, &next, &trust}) FinishRow(plane->Row(y), plane->width);
  }
}
