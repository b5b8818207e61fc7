#include <algorithm>

#include "mask/MaskKernels.h"
#include "mask/MergeAlpha.h"

namespace pf {
namespace {

template <class T>
void Fill(T* values, std::size_t n, T value) {
  std::fill_n(values, n, value);
}

template <class T>
void Invert(T* values, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) values[i] = InverseOf(values[i]);
}

template <class T>
void Fade(T* values, std::size_t n, ScaleOf<T> scale) {
  for (std::size_t i = 0; i < n; ++i) values[i] = Scaled(values[i], scale);
}

template <class T>
void InvertAndFade(T* values, std::size_t n, ScaleOf<T> scale) {
  for (std::size_t i = 0; i < n; ++i) values[i] = Scaled(InverseOf(values[i]), scale);
}

template <class P, class M>
void Merge(void* pixels, const void* values, std::size_t n) {
  auto* out = static_cast<P*>(pixels);
  const auto* m = static_cast<const M*>(values);
  for (std::size_t i = 0; i < n; ++i) out[i].alpha = MergedAlpha(out[i].alpha, m[i]);
}

template <class T>
constexpr ValueKernels<T> kValueKernels = {&Fill<T>, &Invert<T>, &Fade<T>, &InvertAndFade<T>};

}  // namespace

constinit const MaskKernels kPortableMaskKernels = {
    kValueKernels<std::uint8_t>,
    kValueKernels<std::uint16_t>,
    kValueKernels<float>,
    {{&Merge<PF_Pixel8, std::uint8_t>, &Merge<PF_Pixel8, std::uint16_t>},
     {&Merge<PF_Pixel16, std::uint8_t>, &Merge<PF_Pixel16, std::uint16_t>},
     {&Merge<PF_PixelFloat, std::uint8_t>, &Merge<PF_PixelFloat, std::uint16_t>}}};

}  // namespace pf
