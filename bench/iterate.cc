// The iteration engine with a function that does next to nothing, against a bare loop that calls the
// same function: what is left is the engine's own cost.
#include "PF/PF_Iterate.h"
#include "Suite.h"

namespace pfbench {
namespace {

template <class P>
PF_Err SwapEnds(void*, std::int32_t, std::int32_t, P* in, P* out) {
  *out = {in->alpha, in->blue, in->green, in->red};
  return PF_Err_NONE;
}

template <class P>
PF_Err Own(Picture& src, Picture& dst) {
  return PF_Iterate_Static(nullptr, 0, 0, src.record(), nullptr, nullptr, PF_PixelFunc(&SwapEnds<P>), dst.record());
}

template <class P>
PF_Err Installed(Picture& src, Picture& dst) {
  return PF_Iterate(nullptr, 0, 0, src.record(), nullptr, nullptr, PF_PixelFunc(&SwapEnds<P>), dst.record());
}

template <class P>
void BareLoop(const Picture& src, const Picture& dst) {
  // Volatile, so that the compiler cannot put the function into the loop.
  PF_Err (*volatile chosen)(void*, std::int32_t, std::int32_t, P*, P*) = &SwapEnds<P>;
  auto* const function = chosen;
  for (std::int32_t y = 0; y < dst.height(); ++y) {
    P* in = src.row<P>(y);
    P* out = dst.row<P>(y);
    for (std::int32_t x = 0; x < dst.width(); ++x) {
      if (function(nullptr, x, y, in + x, out + x) != PF_Err_NONE) return;
    }
  }
}

template <class P>
void AddBareLoop(const Task& task, std::vector<Contender>& contenders) {
  contenders.push_back({"bare loop", "", "no library: the same function called by two nested loops",
                        [&src = task.src, &dst = task.dst] { BareLoop<P>(src, dst); }});
}

template <class P>
void Add(std::int32_t depth, Size size, std::vector<Case>& cases) {
  cases.push_back({"iterate", DepthName(depth), size, Work::kVisit, false, depth, depth, size, size, &Own<P>,
                   &Installed<P>, false, &AddBareLoop<P>});
}

}  // namespace

void AddIterateCases(Size size, std::vector<Case>& cases) {
  Add<PF_Pixel8>(8, size, cases);
  Add<PF_Pixel16>(16, size, cases);
  Add<PF_PixelFloat>(32, size, cases);
}

}  // namespace pfbench
