// Dense inverse search of patches, with candidates from neighbours.

// Room for a patch: its brightness and slopes, and what its equations are made of.
struct Patch {
  alignas(64) float value[kLargestPatch * kLargestPatch];
  alignas(64) float slope_x[kLargestPatch * kLargestPatch];
  alignas(64) float slope_y[kLargestPatch * kLargestPatch];
  float sum_x, sum_y;     // of slopes
  float xx, xy, yy, det;  // of slopes without their mean
};

struct Vector {
  float u, v;
};

// A patch of `to`, between whole positions.
struct Window {
  const float* at;
  float a, b;
};

PF_INLINE Window WindowAt(const PatchSearch& s, float x, float y) {
  // What lies further out looks the same.
  const auto out = static_cast<float>(-(s.edge + 1));
  x = plain::Min(plain::Max(x, out), static_cast<float>(s.to.width));
  y = plain::Min(plain::Max(y, out), static_cast<float>(s.to.height));
  const float left = std::floor(x), top = std::floor(y);
  return {s.to.at + static_cast<std::int64_t>(top) * s.to.stride + static_cast<std::int64_t>(left), x - left, y - top};
}

PF_INLINE Eight Across(const float* p, Eight a) {
  const Eight left = LoadEight(p), right = LoadEight(p + 1);
  return left + (right - left) * a;
}

// Calls f(residuals, offset in the patch) for every eight pixels. kEdge: the patch's edge, or 0.
template <std::int32_t kEdge, class Visit>
PF_INLINE void ForResiduals(const PatchSearch& s, const Patch& patch, const Window& w, const Visit& visit) {
  const std::int32_t edge = kEdge != 0 ? kEdge : s.edge;
  const Eight a(w.a), b(w.b);
  for (std::int32_t i = 0; i < edge; i += 8) {
    const float* row = w.at + i;
    Eight upper = Across(row, a);
    for (std::int32_t j = 0; j < edge; ++j) {
      row += s.to.stride;
      const Eight lower = Across(row, a);
      visit(upper + (lower - upper) * b - LoadEight(patch.value + j * edge + i), j * edge + i);
      upper = lower;
    }
  }
}

// Squared differences without their mean.
template <std::int32_t kEdge>
float CostOf(const PatchSearch& s, const Patch& patch, const Window& w) {
  const std::int32_t edge = kEdge != 0 ? kEdge : s.edge;
  Eight sum(0.0f), squares(0.0f);
  ForResiduals<kEdge>(s, patch, w, [&](Eight r, std::int32_t) {
    sum = sum + r;
    squares = squares + r * r;
  });
  const float total = Total(sum);
  return Total(squares) - total * total / static_cast<float>(edge * edge);
}

struct Step {
  float cost, u, v;
};

// The cost, and the step of Gauss and Newton from here.
template <std::int32_t kEdge>
Step StepFrom(const PatchSearch& s, const Patch& patch, const Window& w) {
  const std::int32_t edge = kEdge != 0 ? kEdge : s.edge;
  Eight sum(0.0f), squares(0.0f), along_x(0.0f), along_y(0.0f);
  ForResiduals<kEdge>(s, patch, w, [&](Eight r, std::int32_t i) {
    sum = sum + r;
    squares = squares + r * r;
    along_x = along_x + r * LoadEight(patch.slope_x + i);
    along_y = along_y + r * LoadEight(patch.slope_y + i);
  });
  const float n = static_cast<float>(edge * edge), total = Total(sum), mean = total / n;
  const float x = Total(along_x) - mean * patch.sum_x, y = Total(along_y) - mean * patch.sum_y;
  return {Total(squares) - total * mean, (patch.yy * x - patch.xy * y) / patch.det,
          (patch.xx * y - patch.xy * x) / patch.det};
}

template <std::int32_t kEdge>
void ReadPatch(const PatchSearch& s, std::int32_t x, std::int32_t y, Patch& patch) {
  const std::int32_t edge = kEdge != 0 ? kEdge : s.edge;
  const Eight half(0.5f);
  Eight sum_x(0.0f), sum_y(0.0f), xx(0.0f), xy(0.0f), yy(0.0f);
  for (std::int32_t j = 0; j < edge; ++j) {
    for (std::int32_t i = 0; i < edge; i += 8) {
      const float* p = s.from.Row(y + j) + x + i;
      const Eight gx = (LoadEight(p + 1) - LoadEight(p - 1)) * half;
      const Eight gy = (LoadEight(p + s.from.stride) - LoadEight(p - s.from.stride)) * half;
      StoreEight(LoadEight(p), patch.value + j * edge + i);
      StoreEight(gx, patch.slope_x + j * edge + i);
      StoreEight(gy, patch.slope_y + j * edge + i);
      sum_x = sum_x + gx;
      sum_y = sum_y + gy;
      xx = xx + gx * gx;
      xy = xy + gx * gy;
      yy = yy + gy * gy;
    }
  }
  const float n = static_cast<float>(edge * edge);
  patch.sum_x = Total(sum_x);
  patch.sum_y = Total(sum_y);
  patch.xx = Total(xx) - patch.sum_x * patch.sum_x / n;
  patch.xy = Total(xy) - patch.sum_x * patch.sum_y / n;
  patch.yy = Total(yy) - patch.sum_y * patch.sum_y / n;
  patch.det = patch.xx * patch.yy - patch.xy * patch.xy;
  if (patch.det < 1e-3f * n) {
    patch.xx += 1;
    patch.yy += 1;
    patch.det = patch.xx * patch.yy - patch.xy * patch.xy;
  }
}

// The best place of one patch so far.
template <std::int32_t kEdge>
class PatchMatch {
 public:
  PatchMatch(const PatchSearch& s, Patch& patch, std::int32_t column, std::int32_t row)
      : s_(s),
        patch_(patch),
        x_(PatchPlace(column, s.from.width, s.edge, s.step)),
        y_(PatchPlace(row, s.from.height, s.edge, s.step)) {
    ReadPatch<kEdge>(s, x_, y_, patch);
  }

  Vector best() const { return best_; }
  std::int32_t CentreX() const { return std::min(x_ + s_.edge / 2, s_.from.width - 1); }
  std::int32_t CentreY() const { return std::min(y_ + s_.edge / 2, s_.from.height - 1); }

  void Begin(Vector vector) {
    best_ = vector;
    cost_ = Cost(vector);
  }
  // Every whole position around the best one, if one is much better.
  void TryAround() {
    constexpr float kMuchBetter = 0.7f;
    const float u = std::floor(best_.u + 0.5f), v = std::floor(best_.v + 0.5f);
    float limit = cost_ * kMuchBetter;
    for (std::int32_t j = -s_.reach; j <= s_.reach; ++j) {
      for (std::int32_t i = -s_.reach; i <= s_.reach; ++i) {
        const Vector vector = {u + static_cast<float>(i), v + static_cast<float>(j)};
        const float cost = Cost(vector);
        if (!(cost < limit)) continue;
        limit = cost_ = cost;
        best_ = vector;
      }
    }
  }
  // A neighbour's motion has to be better by more than noise.
  void Try(Vector vector) {
    constexpr float kSame = 0.1f, kMargin = 64;
    if (std::abs(vector.u - best_.u) < kSame && std::abs(vector.v - best_.v) < kSame) return;
    const float cost = Cost(vector);
    if (!(cost + kMargin * Area() < cost_)) return;
    cost_ = cost;
    best_ = vector;
  }
  void Descend() {
    constexpr int kSteps = 6;
    constexpr float kFurthest = 2, kProgress = 0.999f, kShortest = 1e-4f;
    const Vector begin = best_;
    Vector at = begin;
    float last = cost_;
    for (int i = 0; i < kSteps; ++i) {
      const Step step = StepFrom<kEdge>(s_, patch_, WindowOf(at));
      if (step.cost < cost_) {
        cost_ = step.cost;
        best_ = at;
      }
      if (i > 0 && step.cost > last * kProgress) break;
      last = step.cost;
      at = {at.u - step.u, at.v - step.v};
      if (!(std::abs(at.u - begin.u) <= kFurthest && std::abs(at.v - begin.v) <= kFurthest)) break;
      if (step.u * step.u + step.v * step.v < kShortest) break;
    }
  }

 private:
  float Area() const { return static_cast<float>(s_.edge * s_.edge) / 64; }
  Window WindowOf(Vector vector) const {
    return WindowAt(s_, static_cast<float>(x_) + vector.u, static_cast<float>(y_) + vector.v);
  }
  float Cost(Vector vector) const { return CostOf<kEdge>(s_, patch_, WindowOf(vector)); }

  const PatchSearch& s_;
  Patch& patch_;
  std::int32_t x_, y_;
  Vector best_ = {0, 0};
  float cost_ = 0;
};

PF_INLINE Vector Limited(const PatchSearch& s, Vector v) {
  return {plain::Min(plain::Max(v.u, -s.longest_x), s.longest_x),
          plain::Min(plain::Max(v.v, -s.longest_y), s.longest_y)};
}

template <std::int32_t kEdge>
void SearchFirstOf(const PatchSearch& s, Rows rows) {
  Patch patch;
  for (std::int32_t row = rows.begin; row < rows.end; ++row) {
    for (std::int32_t column = 0; column < s.columns; ++column) {
      PatchMatch<kEdge> match(s, patch, column, row);
      const std::int32_t x = match.CentreX(), y = match.CentreY();
      match.Begin({s.start.u.Row(y)[x], s.start.v.Row(y)[x]});
      if (s.reach > 0) match.TryAround();
      match.Try({0, 0});
      if (s.other.u.at != nullptr) match.Try({s.other.u.Row(y)[x], s.other.v.Row(y)[x]});
      const auto neighbour = [&](std::int32_t dx, std::int32_t dy) {
        const std::int32_t c = column + dx, r = row + dy;
        if (c < 0 || c >= s.columns || r < rows.begin) return;
        match.Try({s.first_u[r * s.columns + c], s.first_v[r * s.columns + c]});
      };
      neighbour(-1, 0);
      neighbour(0, -1);
      neighbour(-1, -1);
      neighbour(1, -1);
      match.Descend();
      const Vector found = Limited(s, match.best());
      s.first_u[row * s.columns + column] = found.u;
      s.first_v[row * s.columns + column] = found.v;
    }
  }
}

// Backwards. Below the rows, neighbours have what the first pass found.
template <std::int32_t kEdge>
void SearchAgainOf(const PatchSearch& s, Rows rows) {
  Patch patch;
  for (std::int32_t row = rows.end - 1; row >= rows.begin; --row) {
    for (std::int32_t column = s.columns - 1; column >= 0; --column) {
      PatchMatch<kEdge> match(s, patch, column, row);
      match.Begin({s.first_u[row * s.columns + column], s.first_v[row * s.columns + column]});
      const auto neighbour = [&](std::int32_t dx, std::int32_t dy) {
        const std::int32_t c = column + dx, r = row + dy;
        if (c < 0 || c >= s.columns || r >= s.rows) return;
        const std::int32_t i = r * s.columns + c;
        match.Try(r < rows.end ? Vector{s.second_u[i], s.second_v[i]} : Vector{s.first_u[i], s.first_v[i]});
      };
      neighbour(1, 0);
      neighbour(0, 1);
      neighbour(1, 1);
      neighbour(-1, 1);
      match.Descend();
      const Vector found = Limited(s, match.best());
      s.second_u[row * s.columns + column] = found.u;
      s.second_v[row * s.columns + column] = found.v;
    }
  }
}

void SearchFirst(const PatchSearch& s, Rows rows) {
  s.edge == 8 ? SearchFirstOf<8>(s, rows) : SearchFirstOf<0>(s, rows);
}
void SearchAgain(const PatchSearch& s, Rows rows) {
  s.edge == 8 ? SearchAgainOf<8>(s, rows) : SearchAgainOf<0>(s, rows);
}

// One row of one patch.
PF_INLINE void AddPatchRow(const PatchSearch& s, const Window& w, Vector vector, const float* from,
                           const FlowPlanes& flow, const FloatPlane& weights, std::int32_t x, std::int32_t y) {
  const Eight a(w.a), b(w.b), u(vector.u), v(vector.v), one(1.0f);
  float *sum_u = flow.u.Row(y) + x, *sum_v = flow.v.Row(y) + x, *sum = weights.Row(y) + x;
  for (std::int32_t i = 0; i < s.edge; i += 8) {
    const Eight upper = Across(w.at + i, a), lower = Across(w.at + s.to.stride + i, a);
    const Eight residual = upper + (lower - upper) * b - LoadEight(from + i);
    const Eight weight = one / LargerOf(one, Magnitude(residual));
    StoreEight(LoadEight(sum_u + i) + weight * u, sum_u + i);
    StoreEight(LoadEight(sum_v + i) + weight * v, sum_v + i);
    StoreEight(LoadEight(sum + i) + weight, sum + i);
  }
}

void Densify(const PatchSearch& s, const FlowPlanes& flow, const FloatPlane& weights, Rows rows) {
  const std::int32_t width = s.from.width;
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    for (const FloatPlane* plane : {&flow.u, &flow.v, &weights}) std::fill_n(plane->Row(y), width + kRim, 0.0f);
  }
  for (std::int32_t row = 0; row < s.rows; ++row) {
    const std::int32_t top = PatchPlace(row, s.from.height, s.edge, s.step);
    const std::int32_t begin = std::max(top, rows.begin), end = std::min(top + s.edge, rows.end);
    for (std::int32_t column = 0; begin < end && column < s.columns; ++column) {
      const std::int32_t x = PatchPlace(column, width, s.edge, s.step), i = row * s.columns + column;
      const Vector vector = {s.second_u[i], s.second_v[i]};
      Window w = WindowAt(s, static_cast<float>(x) + vector.u, static_cast<float>(top) + vector.v);
      w.at += (begin - top) * s.to.stride;
      for (std::int32_t y = begin; y < end; ++y, w.at += s.to.stride) {
        AddPatchRow(s, w, vector, s.from.Row(y) + x, flow, weights, x, y);
      }
    }
  }
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    float *u = flow.u.Row(y), *v = flow.v.Row(y);
    const float* weight = weights.Row(y);
    for (std::int32_t x = 0; x < width; ++x) {
      u[x] /= weight[x];
      v[x] /= weight[x];
    }
    FinishRow(u, width);
    FinishRow(v, width);
  }
}
