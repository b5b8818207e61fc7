// How far blurs are from their weighted sums in double precision, for every depth and kind and radii up to the largest,
// and whether they keep what they promise exactly.
//   check_blur [--quick]   with a few radii only; exit 1 when a bound is broken
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "PF/PF_Filters.h"
#include "PF/PF_Lifecycle.h"
#include "reference/Blur.h"
#include "reference/BlurPictures.h"

namespace {

using namespace pftest;

constexpr std::int32_t kDepths[] = {8, 16, 32};

bool g_failed = false;

TestWorld& Blurred(TestWorld& src, TestWorld& dst, const BlurWish& wish) {
  if (const PF_Err code = CallBlur(src, dst, wish)) {
    std::fprintf(stderr, "check_blur: %s gives code %d\n", TextOf(wish).c_str(), static_cast<int>(code));
    std::exit(70);
  }
  return dst;
}

std::string DepthName(std::int32_t depth) { return depth == 32 ? "float" : std::to_string(depth) + " bits"; }

// Noise, soft spots and hard edges in lines of this length, with both kinds of ends.
BlurError WorstOf(std::int32_t depth, BlurWish wish, std::int32_t length, std::int32_t lines, std::int64_t stride,
                  Random& random) {
  BlurError worst;
  for (const TestWorld::Kind kind : {TestWorld::kOpaque, TestWorld::kSparse, TestWorld::kRandom, TestWorld::kEdges}) {
    // Straight colours of negative alpha have no bound.
    if (wish.straight && depth == 32 && (kind == TestWorld::kRandom || kind == TestWorld::kEdges)) continue;
    TestWorld src(depth, length, lines), dst(depth, length, lines);
    src.Fill(random, kind);
    for (const std::int32_t flags : {0, int{PF_BlurFlag_TRANSPARENT_EDGES}}) {
      wish.flags = flags;
      const BlurError error = WorstBlurError(src, Blurred(src, dst, wish), wish, stride);
      if (!(error.worst <= worst.worst)) worst = error;
    }
  }
  return worst;
}

void Begin(std::int32_t depth, const BlurWish& wish) {
  std::printf("%-9s%-7s%-10s%8.1f", DepthName(depth).c_str(), wish.box ? "box" : "bell",
              wish.straight ? "straight" : "alike", double{wish.radius});
}
void Print(std::int32_t depth, std::int32_t length, const BlurError& error) {
  const bool holds = error.worst <= BlurBound(depth);
  std::printf(depth == 32 ? "  %10.2e of %-6d%s" : "  %10.3f of %-6d%s", error.worst, static_cast<int>(length),
              holds ? "" : (" BROKEN: " + TextOf(error)).c_str());
  g_failed = g_failed || !holds;
}

void CheckSums(bool quick) {
  const std::vector<float> radii =
      quick ? std::vector<float>{0.3f, 3, 12, 12.5f, 50}
            : std::vector<float>{0.3f,  0.5f, 1,  1.5f, 2.4f, 3,  5,     7.5f, 10,  11.5f, 12,
                                 12.5f, 13,   16, 20,   30,   50, 77.7f, 100,  200, 300,   500};
  std::printf(
      "depth    shape  channels    radius  largest difference, of lines of so many pixels (steps; float: of the "
      "largest in reach)\n");
  Random random(1);
  for (const std::int32_t depth : kDepths) {
    for (const int variant : {0, 1, 2, 3}) {
      BlurWish wish = {variant % 2 != 0, 0, 0, false, false, variant >= 2};
      for (const float radius : radii) {
        wish.radius = radius;
        const auto reach = static_cast<std::int32_t>(wish.Reach());
        Begin(depth, wish);
        for (const std::int32_t length : {2 * reach + 333, 1 + reach / 2}) {
          Print(depth, length, WorstOf(depth, wish, length, 5, 1, random));
        }
        std::printf("\n");
      }
      for (const float radius : {50.0f, 500.0f, 5000.0f, 32767.0f}) {
        if (quick) continue;
        wish.radius = radius;
        Begin(depth, wish);
        Print(depth, PF_MAX_WORLD_SIZE, WorstOf(depth, wish, PF_MAX_WORLD_SIZE, 2, 997, random));
        std::printf("\n");
      }
      std::fflush(stdout);
    }
  }
}

void Verdict(const char* what, bool holds) {
  std::printf("%-78s%s\n", what, holds ? "holds" : "BROKEN");
  g_failed = g_failed || !holds;
}

template <class F>
bool ForWishes(const std::vector<float>& radii, F f) {
  bool holds = true;
  for (const float radius : radii) {
    for (const int variant : {0, 1, 2, 3}) {
      const BlurWish wish = {variant % 2 != 0, radius, 0, false, false, variant >= 2};
      if (f(wish)) continue;
      std::printf("%s:\n", TextOf(wish).c_str());
      holds = false;
    }
  }
  return holds;
}

bool EvenLinesStay(const BlurWish& wish) {
  bool same = true;
  for (const std::int32_t depth : kDepths) {
    Random random(2);
    TestWorld src(depth, 40, 20000), dst(depth, 40, 20000);
    FillRowsWithOneColourEach(src, random);
    same = same && Blurred(src, dst, wish).SamePixels(src);
  }
  return same;
}

bool ImpulseReachesTheRadius(const BlurWish& wish) {
  const auto reach = static_cast<std::int32_t>(wish.Reach());
  const std::int32_t n = 4 * reach + 30, at = 2 * reach + 9;
  TestWorld src(32, n, 1), dst(32, n, 1);
  std::memset(src.Row(0), 0, static_cast<std::size_t>(n) * sizeof(PF_PixelFloat));
  src.At<PF_PixelFloat>(at, 0) = {1, 1e6f, 0.5f, 1e-6f};
  Blurred(src, dst, wish);
  for (std::int32_t x = 0; x < n; ++x) {
    const PF_PixelFloat& p = dst.At<PF_PixelFloat>(x, 0);
    for (const float v : {p.alpha, p.red, p.green, p.blue}) {
      if (std::abs(x - at) <= reach ? !(v > 0) : v != 0) return false;
    }
  }
  return true;
}

bool RowsAndColumnsAgree(const BlurWish& rows) {
  bool same = true;
  for (const std::int32_t depth : kDepths) {
    Random random(3);
    TestWorld a(depth, 211, 97), b(depth, 97, 211), lying(depth, 211, 97), standing(depth, 97, 211);
    a.Fill(random, TestWorld::kSparse);
    Turn(a, b);
    Blurred(a, lying, rows);
    BlurWish wish = rows;
    for (const int pair : {1, 2, 3}) {
      wish.src_columns = pair >= 2;
      wish.dst_columns = pair % 2 != 0;
      const bool turned = wish.src_columns != wish.dst_columns;
      if (wish.src_columns) {
        TestWorld back(depth, 211, 97);
        same =
            same && (turned ? Blurred(b, back, wish).SamePixels(lying) : IsTurned(lying, Blurred(b, standing, wish)));
      } else {
        same = same && IsTurned(lying, Blurred(a, standing, wish));
      }
    }
  }
  return same;
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = argc == 2 && std::strcmp(argv[1], "--quick") == 0;
  if (argc > 1 && !quick) {
    std::fprintf(stderr, "check_blur: unknown option %s; there is --quick\n", argv[1]);
    return 64;
  }
  if (PF_Birth() != PF_Err_NONE) return 70;
  const auto began = std::chrono::steady_clock::now();
  CheckSums(quick);
  const std::vector<float> few = {0.3f, 3, 12, 12.5f, 40}, all = {0.3f, 1, 3, 7.5f, 12, 12.5f, 13, 50, 200, 500};
  const std::vector<float>& radii = quick ? few : all;
  Verdict("lines of one colour stay as they are, every alpha but 0, all depths", ForWishes(radii, &EvenLinesStay));
  Verdict("a single float sample reaches as far as the radius, and beyond it all is 0",
          ForWishes(radii, &ImpulseReachesTheRadius));
  Verdict("rows, columns and both ways to turn give the same bits, all depths", ForWishes(few, &RowsAndColumnsAgree));
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
  std::printf("%.0f s\n", took.count());
  return PF_Death() == PF_Err_NONE && !g_failed ? 0 : 1;
}
