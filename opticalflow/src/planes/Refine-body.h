// Refinement of motion: constancy of brightness and of its slopes under robust penalties, smoothness that gives way at
// edges of the motion, by successive over-relaxation of every other pixel in turn.

void Meet(const FloatPlane& first, float first_part, const FloatPlane& second, float second_part,
          const RefinePlanes& planes, Rows rows) {
  const std::int32_t width = first.width;
  const F half(0.5);
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const float *u = planes.begin.u.Row(y), *v = planes.begin.v.Row(y), *still = first.Row(y);
    float *mean = planes.mean.Row(y), *change = planes.change.Row(y);
    for (std::int32_t x = 0; x < width; x += kStep) {
      const F along_x = Load(u + x), along_y = Load(v + x), left = Ramp(x), top(static_cast<double>(y));
      const auto fetch = [&](const FloatPlane& plane, float part) {
        const F p(static_cast<double>(part));
        return Fetch(plane, left + p * along_x, top + p * along_y);
      };
      const F a = first_part == 0 ? Load(still + x) : fetch(first, first_part), b = fetch(second, second_part);
      Store((a + b) * half, mean + x);
      Store(b - a, change + x);
    }
    FinishRow(mean, width);
    FinishRow(change, width);
  }
}

void Slopes(const RefinePlanes& planes, Rows rows) {
  const F half(0.5);
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const float *upper = planes.mean.ClampedRow(y - 1), *here = planes.mean.Row(y),
                *lower = planes.mean.ClampedRow(y + 1);
    float *to_x = planes.slope_x.Row(y), *to_y = planes.slope_y.Row(y);
    for (std::int32_t x = 0; x < planes.mean.width; x += kStep) {
      Store((Load(here + x + 1) - Load(here + x - 1)) * half, to_x + x);
      Store((Load(lower + x) - Load(upper + x)) * half, to_y + x);
    }
    FinishRow(to_x, planes.mean.width);
    FinishRow(to_y, planes.mean.width);
  }
}

// One band in one round. Every row gets its weights and equations just before the first sweep reaches it; the sweeps
// follow each other at a distance of one row, so that what they work on stays in the cache.
class BandRefiner {
 public:
  BandRefiner(const RefinePlanes& planes, const RefineWeights& weights, const RefineBand& band)
      : p_(planes), k_(weights), band_(band), width_(planes.mean.width), height_(planes.mean.height) {}

  void Run() {
    const std::int32_t begin = band_.rows.begin, end = band_.rows.end;
    if (begin > 0) {
      FindSmoothness(begin - 1);
    } else {
      std::fill_n(At(kDown, -1), width_ + kRim, 0.0f);
    }
    for (std::int32_t y = begin; y < end + kSweeps - 1; ++y) {
      if (y < end) {
        FindSmoothness(y);
        FindEquations(y);
      }
      for (std::int32_t sweep = 0; sweep < kSweeps; ++sweep) {
        const std::int32_t row = y - sweep;
        if (row >= begin && row < end) Sweep(row, (row + sweep) & 1);
      }
    }
    for (std::int32_t y = begin; y < end; ++y) {
      FinishRow(p_.flow.u.Row(y), width_);
      FinishRow(p_.flow.v.Row(y), width_);
    }
    Keep(begin, band_.first_u, band_.first_v);
    Keep(end - 1, band_.last_u, band_.last_v);
  }

 private:
  // The smoothness between a pixel and the one to its right, and the one below; the equations
  // (pull_u + sum of neighbours' - coupling * v) * share_u = u, and the same for v.
  enum Line { kRight, kDown, kCoupling, kPullU, kPullV, kShareU, kShareV };

  float* At(Line line, std::int64_t y) const {
    return band_.scratch + (line * kRefineRing + (y + kRefineRing) % kRefineRing) * LineFloats(width_) + kRim;
  }
  const float* RowU(std::int32_t y) const {
    return y < band_.rows.begin ? band_.above_u : y >= band_.rows.end ? band_.below_u : p_.flow.u.Row(y);
  }
  const float* RowV(std::int32_t y) const {
    return y < band_.rows.begin ? band_.above_v : y >= band_.rows.end ? band_.below_v : p_.flow.v.Row(y);
  }
  void Keep(std::int32_t y, float* u, float* v) const {
    std::copy_n(p_.flow.u.Row(y), width_ + 2, u);
    std::copy_n(p_.flow.v.Row(y), width_ + 2, v);
  }

  void FindSmoothness(std::int32_t y) const {
    const bool last = y == height_ - 1;
    const float *u = RowU(y), *v = RowV(y), *below_u = last ? u : RowU(y + 1), *below_v = last ? v : RowV(y + 1);
    float *right = At(kRight, y), *down = At(kDown, y);
    const F stiffness(static_cast<double>(k_.stiffness)), least(1e-6);
    for (std::int32_t x = 0; x < width_; x += kStep) {
      const F here_u = Load(u + x), here_v = Load(v + x);
      const F ux = Load(u + x + 1) - here_u, vx = Load(v + x + 1) - here_v;
      const F uy = Load(below_u + x) - here_u, vy = Load(below_v + x) - here_v;
      const F weight = stiffness / Sqrt((ux * ux + uy * uy) + (vx * vx + vy * vy) + least);
      Store(weight, right + x);
      Store(weight, down + x);
    }
    right[-1] = right[width_ - 1] = 0;
    if (last) std::fill_n(down, width_, 0.0f);
  }

  void FindEquations(std::int32_t y) const {
    const auto upper = [&](const FloatPlane& plane) { return plane.ClampedRow(y - 1); };
    const auto lower = [&](const FloatPlane& plane) { return plane.ClampedRow(y + 1); };
    const float *sx = p_.slope_x.Row(y), *sy = p_.slope_y.Row(y), *c = p_.change.Row(y);
    const float *sx_upper = upper(p_.slope_x), *sx_lower = lower(p_.slope_x);
    const float *sy_upper = upper(p_.slope_y), *sy_lower = lower(p_.slope_y);
    const float *c_upper = upper(p_.change), *c_lower = lower(p_.change);
    const float *u = p_.flow.u.Row(y), *v = p_.flow.v.Row(y), *u0 = p_.begin.u.Row(y), *v0 = p_.begin.v.Row(y);
    const float *right = At(kRight, y), *down = At(kDown, y), *up = At(kDown, y - 1);
    const float* trust = p_.trust != nullptr ? p_.trust + y * p_.mean.stride : nullptr;
    const F half(0.5), one(1), flat(0.01), least(1e-6);
    const F brightness(static_cast<double>(k_.brightness)), structure(static_cast<double>(k_.structure));
    for (std::int32_t x = 0; x < width_; x += kStep) {
      const F ix = Load(sx + x), iy = Load(sy + x), iz = Load(c + x);
      const F ixx = (Load(sx + x + 1) - Load(sx + x - 1)) * half,
              ixy = (Load(sx_lower + x) - Load(sx_upper + x)) * half;
      const F iyy = (Load(sy_lower + x) - Load(sy_upper + x)) * half;
      const F ixz = (Load(c + x + 1) - Load(c + x - 1)) * half, iyz = (Load(c_lower + x) - Load(c_upper + x)) * half;
      const F begin_u = Load(u0 + x), begin_v = Load(v0 + x);
      const F du = Load(u + x) - begin_u, dv = Load(v + x) - begin_v;
      const F trusted = trust != nullptr ? Load(trust + x) : one;

      // Constraints are normalised by their slopes, so that strong edges do not decide alone.
      const F n = one / (ix * ix + iy * iy + flat);
      const F nx = one / (ixx * ixx + ixy * ixy + flat), ny = one / (iyy * iyy + ixy * ixy + flat);
      const F r = iz + ix * du + iy * dv, rx = ixz + ixx * du + ixy * dv, ry = iyz + ixy * du + iyy * dv;
      const F wb = trusted * brightness * n / Sqrt(r * r * n + least);
      const F ws = trusted * structure / Sqrt(rx * rx * nx + ry * ry * ny + least);
      const F wx = ws * nx, wy = ws * ny;
      const F a11 = wb * ix * ix + (wx * ixx * ixx + wy * ixy * ixy);
      const F a12 = wb * ix * iy + (wx * ixx * ixy + wy * ixy * iyy);
      const F a22 = wb * iy * iy + (wx * ixy * ixy + wy * iyy * iyy);
      const F b1 = wb * iz * ix + (wx * ixx * ixz + wy * ixy * iyz);
      const F b2 = wb * iz * iy + (wx * ixy * ixz + wy * iyy * iyz);

      const F smooth = (Load(right + x - 1) + Load(right + x)) + (Load(up + x) + Load(down + x)) + least;
      Store(a12, At(kCoupling, y) + x);
      Store((a11 * begin_u + a12 * begin_v) - b1 + least * begin_u, At(kPullU, y) + x);
      Store((a12 * begin_u + a22 * begin_v) - b2 + least * begin_v, At(kPullV, y) + x);
      Store(one / (a11 + smooth), At(kShareU, y) + x);
      Store(one / (a22 + smooth), At(kShareV, y) + x);
    }
  }

  void Sweep(std::int32_t y, std::int32_t parity) const {
    const bool top = y == 0, bottom = y == height_ - 1;
    float *u = p_.flow.u.Row(y), *v = p_.flow.v.Row(y);
    const float *upper_u = top ? u : RowU(y - 1), *upper_v = top ? v : RowV(y - 1);
    const float *lower_u = bottom ? u : RowU(y + 1), *lower_v = bottom ? v : RowV(y + 1);
    const float *right = At(kRight, y), *down = At(kDown, y), *up = At(kDown, y - 1), *coupling = At(kCoupling, y);
    const float *pull_u = At(kPullU, y), *pull_v = At(kPullV, y), *share_u = At(kShareU, y), *share_v = At(kShareV, y);
    const F relaxation(1.6);
    ForParity(parity, width_, [&](std::int32_t x, M chosen) {
      const F l = Load(right + x - 1), r = Load(right + x), a = Load(up + x), b = Load(down + x),
              k = Load(coupling + x);
      const F sum_u = (l * Load(u + x - 1) + r * Load(u + x + 1)) + (a * Load(upper_u + x) + b * Load(lower_u + x));
      const F sum_v = (l * Load(v + x - 1) + r * Load(v + x + 1)) + (a * Load(upper_v + x) + b * Load(lower_v + x));
      const F old_u = Load(u + x), old_v = Load(v + x);
      const F new_u = old_u + relaxation * ((Load(pull_u + x) + sum_u - k * old_v) * Load(share_u + x) - old_u);
      const F new_v = old_v + relaxation * ((Load(pull_v + x) + sum_v - k * new_u) * Load(share_v + x) - old_v);
      Store(Select(chosen, new_u, old_u), u + x);
      Store(Select(chosen, new_v, old_v), v + x);
    });
  }

  const RefinePlanes& p_;
  const RefineWeights& k_;
  const RefineBand& band_;
  const std::int32_t width_, height_;
};

void Refine(const RefinePlanes& planes, const RefineWeights& weights, const RefineBand& band) {
  BandRefiner(planes, weights, band).Run();
}
