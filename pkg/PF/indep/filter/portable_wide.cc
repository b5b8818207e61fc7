// Blurs of widened values in plain C++.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "PF/PF_Types.h"
#include "filter/WideKernels.h"

namespace pf {
namespace {

using RD = double;
using RP = double;

template <class R>
R Load(const double* p) {
  return *p;
}
void Store(double v, double* p) { *p = v; }
template <class R>
constexpr std::int64_t kLanesOf() {
  return 1;
}
template <class R, class T>
R LoadValues(const T* p) {
  return *p;
}
void StoreValues(double v, float* p) { *p = static_cast<float>(v); }
void StoreValues(double v, std::uint16_t* p) {
  *p = static_cast<std::uint16_t>(std::clamp<double>(v + 0.5, 0, PF_MAX_CHAN16));
}
void StreamValues(double v, float* p) { StoreValues(v, p); }
void Prefetch(const void*) {}
void PrefetchFar(const void*) {}
void Settle() {}

#include "filter/Wide-body.h"

}  // namespace

constinit const WideKernels kPortableWideKernels = kKernels;

}  // namespace pf
