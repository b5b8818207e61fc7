#include <algorithm>

#include "PF/PF_Types.h"
#include "mask/MaskScanKernels.h"
#include "mask/ScanMath.h"

namespace pf {
namespace {

template <class T>
void Gauss(const GaussRun<T>& run, const WeightsOf<T>& weights) {
  for (std::int64_t x = 0; x < run.n; ++x) run.out[x] = GaussMean(run, weights, x);
}

template <class T>
void Slide(std::uint32_t* sums, const T* entering, const T* leaving, T* out, std::int64_t n,
           const BoxDivider& divider) {
  for (std::int64_t x = 0; x < n; ++x) {
    sums[x] += entering[x] - std::uint32_t{leaving[x]};
    out[x] = BoxMean<T>(sums[x], divider);
  }
}

template <class T>
void Box(const T* line, T* out, std::int64_t n, std::int64_t reach, const BoxDivider& divider) {
  std::uint32_t sum = SumBeforeRow(line, n, reach);
  for (std::int64_t x = 0; x < n; ++x) {
    sum += line[x + reach] - std::uint32_t{line[x - reach - 1]};
    out[x] = BoxMean<T>(sum, divider);
  }
}

template <class T>
constexpr ScanKernels<T> kKernels = {&Gauss<T>, &Slide<T>, &Box<T>};

}  // namespace

constinit const MaskScanKernels kPortableMaskScanKernels = {kKernels<std::uint8_t>, kKernels<std::uint16_t>};

}  // namespace pf
