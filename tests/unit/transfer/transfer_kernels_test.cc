// After rows that read or write past their ends, tails that are mixed otherwise, masks and opacities in another order,
// matte modes that keep what they should cut, and vector rows that differ from the portable ones in a single bit.
#include "transfer/TransferKernels.h"

#include "support/Targets.h"
#include "transfer/TransferRow.h"
#include "unit/transfer/Support.h"

namespace {

using namespace pftest;
using pf::kFirstPipelineMode;
using pf::TransferJob;
using pf::TransferKernels;

constexpr std::size_t kMost = 67;

template <class P>
const TransferKernels<P>& PortableOf() {
  if constexpr (std::is_same_v<P, PF_Pixel8>) return pf::kPortableTransferKernels8;
  if constexpr (std::is_same_v<P, PF_Pixel16>) return pf::kPortableTransferKernels16;
  if constexpr (kIsFloatPixel<P>) return pf::kPortableTransferKernelsFloat;
}
template <class P>
const TransferKernels<P>& VectorOf() {
  if constexpr (std::is_same_v<P, PF_Pixel8>) return pf::VectorTransferKernels8();
  if constexpr (std::is_same_v<P, PF_Pixel16>) return pf::VectorTransferKernels16();
  if constexpr (kIsFloatPixel<P>) return pf::VectorTransferKernelsFloat();
}

template <class F>
void ForEachDepth(F f) {
  f(PF_Pixel8{});
  f(PF_Pixel16{});
  f(PF_PixelFloat{});
}

// A job whose pixels and mask end, or start, at pages that fault.
template <class P>
struct Trial {
  explicit Trial(GuardedMemory::Where place)
      : where(place), src(Bytes(), where), dst(Bytes(), where), mask(Bytes(), where) {}
  static std::size_t Bytes() { return kMost * sizeof(P); }

  template <class T>
  T* At(const GuardedMemory& memory) const {
    return reinterpret_cast<T*>(memory.data() + (where == GuardedMemory::kEnd ? Bytes() - n * sizeof(T) : 0));
  }

  void Fill(Random& random, std::size_t width) {
    n = width;
    const auto kind = random() % 6;
    P* const s = At<P>(src);
    P* const d = At<P>(dst);
    auto* const m = At<pf::ChannelOf<P>>(mask);
    for (std::size_t i = 0; i < n; ++i) {
      AnyPair(random, s[i], d[i]);
      if (kind == 0) s[i] = RawPixel<P>(random);
      if (kind <= 1) d[i] = RawPixel<P>(random);
      if (kind == 2 || (kind == 3 && random() % 8 != 0)) s[i].alpha = kFull<P>;
      if (kind == 4 || (kind == 5 && i % 8 < 4)) s[i].alpha = 0;
      m[i] = kind <= 1 && random() % 4 == 0 ? RawPixel<P>(random).red : EdgeOrAny<P>(random);
      if (sizeof(m[i]) == 2) m[i] = std::min(m[i], kFull<P>);
    }
    const auto opacity = random() % 3 == 0 ? EdgeOrAny<P>(random) : kFull<P>;
    job = {s, d, random() % 2 == 0 ? m : nullptr, opacity, random() % 2 == 0, n};
    before.assign(d, d + n);
  }
  // What a row makes of it.
  std::vector<P> Run(typename TransferKernels<P>::Row row, bool in_place) {
    TransferJob<P> run = job;
    std::copy(before.begin(), before.end(), job.dst);
    if (in_place) run.src = job.dst;
    row(run);
    return {job.dst, job.dst + n};
  }

  GuardedMemory::Where where;
  GuardedMemory src, dst, mask;
  std::size_t n = 0;
  TransferJob<P> job = {};
  std::vector<P> before;
};

template <class P>
void ExpectSame(const std::vector<P>& got, const std::vector<P>& want, const Trial<P>& trial, int mode) {
  for (std::size_t i = 0; i < got.size(); ++i) {
    ASSERT_TRUE(SameBits(got[i], want[i]))
        << "mode " << mode << ", opacity " << +trial.job.opacity << ", mask "
        << (trial.job.mask != nullptr ? std::to_string(+trial.job.mask[i]) : "none") << ", matte " << trial.job.matte
        << ", pixel " << i << " of " << got.size() << ": s " << TextOf(trial.job.src[i]) << ", d "
        << TextOf(trial.before[i]) << ", got " << TextOf(got[i]) << " for " << TextOf(want[i]);
  }
}

template <class P>
void ExpectPortableRows(const TransferKernels<P>& kernels) {
  Random random(sizeof(P));
  Trial<P> ending(GuardedMemory::kEnd), starting(GuardedMemory::kStart);
  for (int mode = kFirstPipelineMode; mode < PF_Xfer_COUNT; ++mode) {
    const auto index = static_cast<std::size_t>(mode - kFirstPipelineMode);
    ASSERT_EQ(kernels.row[index] == nullptr, mode == -1);
    for (std::size_t n = 0; mode != -1 && n <= kMost; ++n) {
      for (int i = 0; i < 6; ++i) {
        Trial<P>& trial = i % 2 == 0 ? ending : starting;
        trial.Fill(random, n);
        const bool in_place = i == 5;
        const auto got = trial.Run(kernels.row[index], in_place);
        const auto want = trial.Run(PortableOf<P>().row[index], in_place);
        ASSERT_NO_FATAL_FAILURE(ExpectSame(got, want, trial, mode));
      }
    }
  }
}

TEST(TransferKernels, EveryTargetGivesThePortableBits) {
  ForEachDepth([]<class P>(P) {
    pftest::ForEachTarget([]() -> const TransferKernels<P>& { return VectorOf<P>(); }, ExpectPortableRows<P>);
  });
}

TEST(TransferKernels, PortableRowsAreTheTablesFunctions) {
  ForEachDepth([]<class P>(P) {
    Random random(17);
    Trial<P> trial(GuardedMemory::kEnd);
    for (int mode = 0; mode < PF_Xfer_COUNT; ++mode) {
      for (int i = 0; i < 40; ++i) {
        trial.Fill(random, kMost);
        trial.job.matte = false;
        std::vector<P> want = trial.before;
        for (std::size_t x = 0; x < kMost; ++x) {
          if (trial.job.mask != nullptr) {
            TransferTables<P>::opacity2(mode)(&trial.job.src[x], nullptr, trial.job.opacity, trial.job.mask[x],
                                              &want[x]);
          } else {
            TransferTables<P>::opacity(mode)(&trial.job.src[x], nullptr, trial.job.opacity, &want[x]);
          }
        }
        ASSERT_NO_FATAL_FAILURE(
            ExpectSame(trial.Run(PortableOf<P>().row[mode - kFirstPipelineMode], false), want, trial, mode));
      }
    }
  });
}

// Modes without a table entry, and what mattes do where the source is transparent.
TEST(TransferKernels, PremultipliedModesAndMattes) {
  ForEachDepth([]<class P>(P) {
    Random random(18);
    const auto run = [](int mode, const P& s, P d, bool matte) {
      PortableOf<P>().row[mode - kFirstPipelineMode]({&s, &d, nullptr, kFull<P>, matte, 1});
      return d;
    };
    for (int i = 0; i < 5000; ++i) {
      P s, d;
      AnyPair(random, s, d);
      P empty = s;
      empty.alpha = 0;
      for (int mode = kFirstPipelineMode; mode < PF_Xfer_COUNT; ++mode) {
        if (mode == -1) continue;
        const bool cuts = mode == -2 || mode == 17 || mode == 18;
        const P cut = mode == -2 ? P{} : P{0, d.red, d.green, d.blue};
        const P got = run(mode, empty, d, true);
        const bool as_meant = cuts ? UnitsOf(got).a == 0 && UnitsOf(got).r == UnitsOf(cut).r : SameBits(got, d);
        ASSERT_TRUE(as_meant) << "mode " << mode << " made " << TextOf(got) << " of " << TextOf(d);
        ASSERT_TRUE(SameBits(run(mode, empty, d, false), d)) << "mode " << mode << ", no matte";
      }
      if (s.alpha == 0) continue;
      const Unit4 us = UnitsOf(s), ud = UnitsOf(d), onto = UnitsOf(run(-3, s, d, false)),
                  in = UnitsOf(run(-2, s, d, false));
      const auto expect = [&](double got, double want) {
        const double limited = kIsFloatPixel<P> ? want : Median0To1(want);
        ASSERT_NEAR(got, limited, kIsFloatPixel<P> ? 1e-6 : 0.51 / static_cast<double>(kFull<P>))
            << TextOf(s) << TextOf(d);
      };
      expect(onto.a, us.a + ud.a * (1 - us.a));
      expect(onto.r, us.r + ud.r * (1 - us.a));
      expect(onto.b, us.b + ud.b * (1 - us.a));
      expect(in.a, ud.a * us.a);
      expect(in.g, ud.g * us.a);
    }
  });
}

}  // namespace
