// Blurs in plain C++.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <type_traits>

#include "PF/PF_Types.h"
#include "filter/LaneKernels.h"

namespace pf {
namespace {

template <class R>
R Load(const double* p) {
  return *p;
}
void Store(double v, double* p) { *p = v; }
template <class R>
constexpr std::int64_t kLanesOf() {
  return 1;
}

#include "filter/Lanes-body.h"

void Peaks(const double* lanes, std::int64_t n, std::uint32_t* peaks) {
  std::fill_n(peaks, kLanes, 0u);
  for (std::int64_t i = 0; i < n * kLanes; ++i) {
    const auto word = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(lanes[i]) >> 32) & 0x7FFFFFFFu;
    peaks[i % kLanes] = std::max(peaks[i % kLanes], word);
  }
}

void Weigh(double* lanes, std::int64_t n) {
  for (double* p = lanes; p < lanes + kLanes * n; p += 4) {
    for (int c = 1; c < 4; ++c) p[c] *= p[0];
  }
}

void Unweigh(double* lanes, std::int64_t n) {
  for (double* p = lanes; p < lanes + kLanes * n; p += 4) {
    const double inverse = p[0] == 0 ? 0 : 1 / p[0];
    for (int c = 1; c < 4; ++c) p[c] *= inverse;
  }
}

template <class T>
T Rounded(double v) {
  if constexpr (std::is_same_v<T, float>) {
    return static_cast<float>(v);
  } else {
    constexpr double kFull = sizeof(T) == 1 ? PF_MAX_CHAN8 : PF_MAX_CHAN16;
    return static_cast<T>(std::clamp(v + 0.5, 0.0, kFull));
  }
}

template <class T>
T* Moved(T* at, std::int64_t bytes) {
  using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(at) + bytes);
}

template <class T>
void LoadAcross(const T* at, std::int64_t step, std::int64_t n, double* lanes, Beside beside) {
  for (std::int64_t i = 0; i < n; ++i) {
    for (std::int64_t g = 0; g < beside.groups; ++g) {
      std::copy_n(Moved(at, step * i) + kLanes * g, kLanes, lanes + beside.apart * g + kLanes * i);
    }
  }
}
template <class T>
void StoreAcross(const double* lanes, std::int64_t n, T* at, std::int64_t step, Beside beside) {
  for (std::int64_t i = 0; i < n; ++i) {
    for (std::int64_t g = 0; g < beside.groups; ++g) {
      const double* from = lanes + beside.apart * g + kLanes * i;
      std::transform(from, from + kLanes, Moved(at, step * i) + kLanes * g, &Rounded<T>);
    }
  }
}
template <class T>
void LoadAlong(const T* at, std::int64_t n, double* lanes) {
  for (std::int64_t i = 0; i < n; ++i) std::copy_n(at + 4 * i, 4, lanes + kLanes * i);
}
template <class T>
void StoreAlong(const double* lanes, std::int64_t n, T* at) {
  for (std::int64_t i = 0; i < n; ++i)
    std::transform(lanes + kLanes * i, lanes + kLanes * i + 4, at + 4 * i, &Rounded<T>);
}

void Settle() {}

template <class T>
constexpr LaneValueKernels<T> kValues = {&LoadAcross<T>, &StoreAcross<T>, &LoadAlong<T>,
                                         &StoreAlong<T>, &StoreAlong<T>,  &Settle};

}  // namespace

constinit const BlurKernels kPortableBlurKernels = {
    {&Convolve<double>, &Series<double>, &Box<double>, &Peaks, &Weigh, &Unweigh},
    kValues<std::uint8_t>,
    kValues<std::uint16_t>,
    kValues<float>};

}  // namespace pf
