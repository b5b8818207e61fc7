// After: vector kernels that differ from the portable code in a single bit, take what lies beside a plane for a part
// of it, or touch memory behind what they are given.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <vector>

#include "KernelMemory.h"
#include "support/Targets.h"

namespace {

using pf::MotionKernels;
using pf::Rows;
using Memory = pftest::KernelMemory;
using pftest::ColourPlane;
using pftest::FloatPlane;
using pftest::FlowPlanes;

// In two bands where there are rows enough.
template <class F>
void InBands(std::int32_t rows, const F& f) {
  const std::int32_t middle = rows * 2 / 3;
  if (middle > 0) f(Rows{0, middle});
  f(Rows{middle, rows});
}

using Run = std::function<void(const MotionKernels&, Memory&)>;

// The portable results, bit by bit, from every target.
void ExpectSame(const char* name, std::int32_t width, std::int32_t height, std::uint64_t seed, const Run& run) {
  Memory expected(width, height, seed);
  run(pf::kPortableMotionKernels, expected);
  for (const float v : expected.results) {
    ASSERT_TRUE(std::isfinite(v)) << name << ", " << width << " x " << height << ", seed " << seed;
  }
  pftest::ForEachTarget(&pf::VectorMotionKernels, [&](const MotionKernels& kernels) {
    Memory memory(width, height, seed);
    run(kernels, memory);
    ASSERT_EQ(memory.results.size(), expected.results.size());
    for (std::size_t i = 0; i < memory.results.size(); ++i) {
      ASSERT_EQ(std::bit_cast<std::uint32_t>(memory.results[i]), std::bit_cast<std::uint32_t>(expected.results[i]))
          << name << ", " << width << " x " << height << ", seed " << seed << ", result " << i << ": "
          << memory.results[i] << " against " << expected.results[i];
    }
  });
}

void ExpectSameEverywhere(const char* name, const Run& run) {
  for (std::int32_t width = 1; width <= 67; ++width) {
    const std::int32_t height = 1 + width * 7 % 20;
    ExpectSame(name, width, height, static_cast<unsigned>(width), run);
    if (testing::Test::HasFatalFailure()) return;
  }
  for (std::int32_t height = 1; height <= 20; ++height) {
    ExpectSame(name, 1 + height * 11 % 34, height, 100 + static_cast<unsigned>(height), run);
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(MotionKernels, SmallNeighbourhoods) {
  ExpectSameEverywhere("halve", [](const MotionKernels& k, Memory& m) {
    const FloatPlane in = m.Values(-300, 300), out = m.Plane((m.width + 1) / 2, (m.height + 1) / 2);
    InBands(out.height, [&](Rows rows) { k.halve(in, out, rows, m.Line(m.width)); });
    m.Keep(out);
  });
  ExpectSameEverywhere("twice", [](const MotionKernels& k, Memory& m) {
    const std::int32_t width = 2 * m.width - static_cast<int>(m.random() % 2),
                       height = 2 * m.height - static_cast<int>(m.random() % 2);
    const FloatPlane in = m.Values(-300, 300), out = m.Plane(width, height);
    InBands(height, [&](Rows rows) { k.twice(in, 1.7f, out, rows, m.Line(width)); });
    m.Keep(out);
  });
  ExpectSameEverywhere("median and mean", [](const MotionKernels& k, Memory& m) {
    const FloatPlane in = m.Values(-30, 30), median = m.Out(), mean = m.Out();
    InBands(m.height, [&](Rows rows) {
      k.median(in, median, rows);
      k.mean(in, mean, rows, m.Line(m.width));
    });
    m.Keep(median), m.Keep(mean);
  });
}

// One patch smaller than the plane; patches of 8 may be larger.
void SearchIn(const MotionKernels& k, Memory& m, std::int32_t edge) {
  pf::PatchSearch s = {};
  s.from = m.Level(pf::PatchRim(edge));
  s.to = m.Level(pf::PatchRim(edge));
  s.start = m.Flow();
  if (m.random() % 2 == 0) s.other = m.Flow();
  s.edge = edge;
  s.step = edge / 2;
  s.columns = pf::PatchCount(m.width, edge, s.step);
  s.rows = pf::PatchCount(m.height, edge, s.step);
  s.reach = m.random() % 2 == 0 ? 4 : 0;
  s.longest_x = m.Any(0, 20);
  s.longest_y = m.Any(0, 20);
  const std::int64_t count = std::int64_t{s.columns} * s.rows;
  for (float** values : {&s.first_u, &s.first_v, &s.second_u, &s.second_v}) *values = m.Floats(count);
  InBands(s.rows, [&](Rows rows) { k.search_first(s, rows); });
  InBands(s.rows, [&](Rows rows) { k.search_again(s, rows); });
  for (const float* values : {s.first_u, s.first_v, s.second_u, s.second_v}) m.Keep(values, count);
  const FlowPlanes flow = m.OutFlow();
  const FloatPlane weights = m.Out();
  InBands(m.height, [&](Rows rows) { k.densify(s, flow, weights, rows); });
  m.Keep(flow);
}

TEST(MotionKernels, PatchesOfEverySize) {
  ExpectSameEverywhere("patches of 8", [](const MotionKernels& k, Memory& m) { SearchIn(k, m, 8); });
  for (const std::int32_t edge : {16, 24, 32, 40}) {
    for (std::int32_t seed = 0; seed < 6; ++seed) {
      const std::int32_t width = edge + seed * 5, height = edge + 11 * (seed % 2);
      ExpectSame("larger patches", width, height, static_cast<unsigned>(seed),
                 [=](const MotionKernels& k, Memory& m) { SearchIn(k, m, edge); });
      if (HasFatalFailure()) return;
    }
  }
}

pf::RefinePlanes NewRefinePlanes(Memory& m) {
  pf::RefinePlanes planes = {};
  planes.mean = m.Values(-127, 127);
  planes.change = m.Values(-60, 60);
  planes.slope_x = m.Values(-40, 40);
  planes.slope_y = m.Values(-40, 40);
  planes.begin = {m.Values(-3, 3), m.Values(-3, 3)};
  planes.flow = {m.Values(-3, 3), m.Values(-3, 3)};
  if (m.random() % 2 == 0) planes.trust = m.Values(0, 1).at;
  return planes;
}

TEST(MotionKernels, EquationsOfRefinement) {
  ExpectSameEverywhere("meet and slopes", [](const MotionKernels& k, Memory& m) {
    const FloatPlane first = m.Values(-127, 127), second = m.Values(-127, 127);
    pf::RefinePlanes planes = NewRefinePlanes(m);
    planes.begin = m.Flow();
    const float part = m.random() % 2 == 0 ? 0.0f : -0.3f;
    InBands(m.height, [&](Rows rows) { k.meet(first, part, second, part + 1, planes, rows); });
    m.Keep(planes.mean), m.Keep(planes.change);
    InBands(m.height, [&](Rows rows) { k.slopes(planes, rows); });
    m.Keep(planes.slope_x), m.Keep(planes.slope_y);
  });
}

TEST(MotionKernels, RoundsOfRefinement) {
  ExpectSameEverywhere("refine", [](const MotionKernels& k, Memory& m) {
    const pf::RefinePlanes planes = NewRefinePlanes(m);
    const auto copy_of = [&](const FloatPlane& plane, std::int32_t y) {
      float* const line = m.Line(m.width);
      std::copy_n(plane.Row(y), m.width + 2, line);
      return line;
    };
    const std::int32_t cut = m.height * 2 / 3;
    const FloatPlane &u = planes.flow.u, &v = planes.flow.v;
    float *above_u = nullptr, *above_v = nullptr, *below_u = nullptr, *below_v = nullptr;
    if (cut > 0) {
      above_u = copy_of(u, cut - 1), above_v = copy_of(v, cut - 1);
      below_u = copy_of(u, cut), below_v = copy_of(v, cut);
    }
    InBands(m.height, [&](Rows rows) {
      const bool first = rows.begin == 0, last = rows.end == m.height;
      float* const outer[] = {m.Line(m.width), m.Line(m.width), m.Line(m.width), m.Line(m.width)};
      const pf::RefineBand band = {rows,
                                   first ? nullptr : above_u,
                                   first ? nullptr : above_v,
                                   last ? nullptr : below_u,
                                   last ? nullptr : below_v,
                                   outer[0],
                                   outer[1],
                                   outer[2],
                                   outer[3],
                                   m.Floats(pf::RefineScratch(m.width))};
      k.refine(planes, {20, m.random() % 2 == 0 ? 5.0f : 0.0f, 10}, band);
      for (const float* line : outer) m.Keep(line, m.width + 2);
    });
    m.Keep(planes.flow);
  });
}

TEST(MotionKernels, HowMotionsFit) {
  ExpectSameEverywhere("hidden and doubt", [](const MotionKernels& k, Memory& m) {
    const pf::Consistency pair = {m.Flow(), m.Flow(), m.random() % 3 == 0 ? 0.0f : 0.01f};
    const FloatPlane from = m.Values(-127, 127), to = m.Values(-127, 127), hidden = m.Out(), doubt = m.Out();
    InBands(m.height, [&](Rows rows) {
      k.hidden(pair, hidden, rows);
      k.doubt(pair, from, to, doubt, rows);
    });
    m.Keep(hidden), m.Keep(doubt, 0);
  });
  ExpectSameEverywhere("seen", [](const MotionKernels& k, Memory& m) {
    const FloatPlane a = m.Values(0, 1), b = m.Values(0, 1), seen_a = m.Out(), seen_b = m.Out(), trust = m.Out();
    const FlowPlanes flow = m.Flow();
    const float time = m.Any(0, 1);
    InBands(m.height, [&](Rows rows) { k.seen(a, b, flow, time, seen_a, seen_b, trust, rows); });
    m.Keep(seen_a), m.Keep(seen_b), m.Keep(trust);
  });
}

TEST(MotionKernels, Colour) {
  ExpectSameEverywhere("halve colour", [](const MotionKernels& k, Memory& m) {
    const std::int32_t width = (m.width + 1) / 2, height = (m.height + 1) / 2;
    pf::HalfColour frame = {};
    frame.bounded = m.random() % 2 == 0;
    frame.full = frame.bounded ? m.Colour(m.width, m.height, 0, 1) : m.Colour(m.width, m.height, -4, 90);
    frame.scale = 255;
    frame.half = m.Colour(width, height, 0, 0);
    frame.level = m.Plane(width, height);
    for (float& weight : frame.weights) weight = m.Any(0, 1);
    frame.offset = -127.5f;
    InBands(height, [&](Rows rows) { k.halve_colour(frame, rows, m.Line(4 * std::int64_t{m.width})); });
    for (std::int32_t y = 0; y < height; ++y) {
      m.Keep(frame.half.Row(y), 4 * width);
      m.Keep(frame.level.Row(y), width);
    }
  });
  ExpectSameEverywhere("compare", [](const MotionKernels& k, Memory& m) {
    const pf::Meeting meeting = {m.Colour(m.width, m.height, 0, 255), m.Colour(m.width, m.height, 0, 255), m.Flow(),
                                 m.Any(0, 1), nullptr};
    const FloatPlane out = m.Out();
    InBands(m.height, [&](Rows rows) { k.compare(meeting, out, rows); });
    m.Keep(out);
  });
  struct Way {
    const char* name;
    bool cubic, limited;
  };
  for (const Way way : {Way{"fetch, linear", false, false}, Way{"fetch, cubic", true, false},
                        Way{"fetch, cubic within its pixels", true, true}}) {
    ExpectSameEverywhere(way.name, [=](const MotionKernels& k, Memory& m) {
      const ColourPlane previous = m.Colour(m.width, m.height, -1, 50), next = m.Colour(m.width, m.height, 0, 255);
      const FlowPlanes flow = m.Flow();
      const FloatPlane share = m.Values(0, 1);
      for (std::int32_t y = 0; y < m.height; ++y) {
        float* const out = m.Line(4 * std::int64_t{m.width});
        k.fetch({previous, next, flow.u.Row(y), flow.v.Row(y), share.Row(y), -0.25f, 0.75f, y, m.width, way.cubic,
                 way.limited},
                out);
        m.Keep(out, 4 * m.width);
      }
    });
  }
}

// The portable kernels, too, are what they are called.
TEST(MotionKernels, MediansAndMeansAreThoseOfTheirNeighbourhood) {
  Memory m(13, 9, 3);
  const FloatPlane in = m.Values(-30, 30), median = m.Out(), mean = m.Out();
  pf::kPortableMotionKernels.median(in, median, {0, 9});
  pf::kPortableMotionKernels.mean(in, mean, {0, 9}, m.Line(13));
  const auto around = [&](std::int32_t x, std::int32_t y, std::int32_t reach) {
    std::vector<float> values;
    for (std::int32_t j = -reach; j <= reach; ++j) {
      for (std::int32_t i = -reach; i <= reach; ++i) {
        values.push_back(in.ClampedRow(y + j)[std::clamp(x + i, 0, 12)]);
      }
    }
    std::sort(values.begin(), values.end());
    return values;
  };
  for (std::int32_t y = 0; y < 9; ++y) {
    for (std::int32_t x = 0; x < 13; ++x) {
      ASSERT_EQ(median.Row(y)[x], around(x, y, 1)[4]) << x << ", " << y;
      double sum = 0;
      for (const float v : around(x, y, 2)) sum += v;
      ASSERT_NEAR(mean.Row(y)[x], sum / 25, 1e-4) << x << ", " << y;
    }
  }
}

}  // namespace
