// Every 8-bit (a_s, c_s, a_d, c_d) of the transfer modes that take channels apart: rows of the widest target against
// the formulas in double precision.
//   check_modes [--step N] [MODE...]   with only every N-th alpha; exit 1 when a mode is off by more than one step
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "reference/TransferModes.h"
#include "transfer/TransferKernels.h"

namespace {

using namespace pftest;

constexpr int kValues = 256;
using Pixels = std::array<PF_Pixel8, kValues>;
using Numbers = std::array<double, kValues>;

struct Worst {
  double off = 0;
  int as = 0, cs = 0, ad = 0, cd = 0;
};

double Off(double got, double want) {
  const double v = want * 255;
  return std::abs(got - (v < 0 ? 0 : v > 255 ? 255 : v));
}

// Whether something of a row is worse than `limit`.
template <int kMode>
bool IsWorse(const Numbers& got, const Numbers& units, double cs, double as, double ad, double limit) {
  const double ar = UnionAlpha(as, ad);
  std::int64_t worse = 0;
  for (std::size_t cd = 0; cd < kValues; ++cd) {
    worse |= Off(got[cd], ReferenceChannel(kMode, cs, as, units[cd], ad, ar)) > limit ? 1 : 0;
  }
  return worse != 0;
}

template <int kMode>
void CheckRow(Worst& worst, const Numbers& got, const Numbers& units, int cs, int as, int ad) {
  const double s = units[static_cast<std::size_t>(cs)], sa = as / 255.0, da = ad / 255.0;
  if (as == 0) {
    for (int cd = 0; cd < kValues; ++cd) {
      if (got[static_cast<std::size_t>(cd)] != cd) worst = {255, as, cs, ad, cd};
    }
  } else if (IsWorse<kMode>(got, units, s, sa, da, worst.off)) {
    for (int cd = 0; cd < kValues; ++cd) {
      const auto i = static_cast<std::size_t>(cd);
      const double off = Off(got[i], ReferenceChannel(kMode, s, sa, units[i], da, UnionAlpha(sa, da)));
      if (off > worst.off) worst = {off, as, cs, ad, cd};
    }
  }
}

template <int kMode>
Worst Check(int step) {
  const auto row = pf::VectorTransferKernels8().row[kMode - pf::kFirstPipelineMode];
  Worst worst;
  Numbers units = {}, got = {};
  for (int i = 0; i < kValues; ++i) {
    units[static_cast<std::size_t>(i)] = UnitOf<PF_Pixel8>(static_cast<std::uint8_t>(i), kMode == PF_Xfer_HardMix);
  }
  for (int as = 0; as < kValues; as += step) {
    for (int ad = 0; ad < kValues; ad += step) {
      // Three values of c_s at once, in the three channels.
      for (int cs = 0; cs < kValues; cs += 3) {
        const auto byte = [](int v) { return static_cast<std::uint8_t>(std::min(v, 255)); };
        Pixels src, dst;
        src.fill({byte(as), byte(cs), byte(cs + 1), byte(cs + 2)});
        for (int cd = 0; cd < kValues; ++cd)
          dst[static_cast<std::size_t>(cd)] = {byte(ad), byte(cd), byte(cd), byte(cd)};
        row({src.data(), dst.data(), nullptr, 255, false, kValues});
        const auto of = [&](std::uint8_t PF_Pixel8::*channel) -> const Numbers& {
          for (std::size_t i = 0; i < kValues; ++i) got[i] = dst[i].*channel;
          return got;
        };
        CheckRow<kMode>(worst, of(&PF_Pixel8::red), units, cs, as, ad);
        if (cs + 1 < kValues) CheckRow<kMode>(worst, of(&PF_Pixel8::green), units, cs + 1, as, ad);
        if (cs + 2 < kValues) CheckRow<kMode>(worst, of(&PF_Pixel8::blue), units, cs + 2, as, ad);
        const Unit4 s = {as / 255.0, 0, 0, 0}, d = {ad / 255.0, 0, 0, 0};
        const double alpha = as == 0 ? d.a : ReferenceAlpha(kMode, s, d, UnionAlpha(s.a, d.a));
        const double off = Off(dst[0].alpha, alpha);
        if (off > worst.off) worst = {off, as, -1, ad, -1};
      }
    }
  }
  return worst;
}

using Checks = std::array<Worst (*)(int), PF_Xfer_COUNT>;

template <int kMode>
constexpr auto CheckOf() -> Worst (*)(int) {
  if constexpr (IsSeparable(kMode)) return &Check<kMode>;
  return nullptr;
}
template <int... kModes>
constexpr Checks ChecksOf(std::integer_sequence<int, kModes...>) {
  return {CheckOf<kModes>()...};
}
constexpr Checks kChecks = ChecksOf(std::make_integer_sequence<int, PF_Xfer_COUNT>());

bool Passes(int mode, int step) {
  const auto began = std::chrono::steady_clock::now();
  const Worst worst = kChecks[static_cast<std::size_t>(mode)](step);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
  std::printf("%2d %-20s %.6f steps at a_s %d c_s %d a_d %d c_d %d (%.1f s)\n", mode, PF_GetTransferModeName(mode),
              worst.off, worst.as, worst.cs, worst.ad, worst.cd, took.count());
  std::fflush(stdout);
  return worst.off <= 1;
}

}  // namespace

int main(int argc, char** argv) {
  int step = 1, failed = 0, checked = 0;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const bool is_step = word == "--step" && i + 1 < argc;
    const int value = std::atoi(argv[is_step ? ++i : i]);
    const bool is_mode = value > 0 && value < PF_Xfer_COUNT && kChecks[static_cast<std::size_t>(value)] != nullptr;
    if (is_step ? value < 1 : !is_mode) {
      std::fprintf(stderr, "check_modes: %s is not a mode that takes channels apart, nor a step\n", argv[i]);
      return 64;
    }
    if (is_step) {
      step = value;
    } else {
      failed += Passes(value, step) ? 0 : 1;
      ++checked;
    }
  }
  for (int mode = 0; checked == 0 && mode < PF_Xfer_COUNT; ++mode) {
    if (kChecks[static_cast<std::size_t>(mode)] != nullptr) failed += Passes(mode, step) ? 0 : 1;
  }
  return failed == 0 ? 0 : 1;
}
