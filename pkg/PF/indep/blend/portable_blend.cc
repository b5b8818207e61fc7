#include <limits>
#include <type_traits>

#include "blend/BlendKernels.h"
#include "pixel/ConvertDepth.h"
#include "pixel/Depth.h"

namespace pf {
namespace {

constexpr float kUnit = 0x1p-16f;

struct Weights {
  explicit Weights(std::uint32_t ratio) : first(65536 - ratio), second(ratio) {}
  std::uint32_t first, second;
};

// One weighted term. QUIRK-35: floats take an integer route, the low 32 bits of a 64-bit integer.
template <class C>
std::uint32_t Term(C c, std::uint32_t weight) {
  if constexpr (std::is_same_v<C, float>) {
    const float v = c * static_cast<float>(weight);
    if (v != v || v < -0x1p63f) return 0;
    if (v >= 0x1p63f) return static_cast<std::uint32_t>(std::numeric_limits<std::int64_t>::max());
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(v));
  } else {
    return c * weight;
  }
}

template <class C>
C FromSum(std::uint32_t sum) {
  if constexpr (std::is_same_v<C, float>) return static_cast<float>(sum) * kUnit;
  return static_cast<C>((sum + 32768) >> 16);
}

template <class P>
struct Premultiplied {
  P operator()(const P& first, const P& second, Weights w) const {
    const auto mix = [w](auto a, auto b) { return FromSum<ChannelOf<P>>(Term(a, w.first) + Term(b, w.second)); };
    return {mix(first.alpha, second.alpha), mix(first.red, second.red), mix(first.green, second.green),
            mix(first.blue, second.blue)};
  }
};

// Colour under shares that are not 0, nor is their sum.
float MixColour(float a, float b, std::uint32_t share_a, std::uint32_t share_b) {
  // Adding 0 makes -0 a 0.
  const float sum = a * static_cast<float>(share_a) + b * static_cast<float>(share_b) + 0.0f;
  const float mixed = sum / static_cast<float>(share_a + share_b);
  return mixed == mixed ? mixed : std::numeric_limits<float>::quiet_NaN();
}

// Sums of 8 bits fit 32, of 16 bits 64.
template <class C>
C MixColour(C a, C b, std::uint32_t share_a, std::uint32_t share_b) {
  using Sum = std::conditional_t<sizeof(C) == 1, std::uint32_t, std::uint64_t>;
  const Sum shares = share_a + share_b;
  return static_cast<C>((Sum{a} * share_a + Sum{b} * share_b + shares / 2) / shares);
}

template <class P>
struct Straight {
  P operator()(const P& first, const P& second, Weights w) const {
    const std::uint32_t share1 = Term(first.alpha, w.first), share2 = Term(second.alpha, w.second);
    P out = second;
    if (share1 != 0 && share2 == 0) {
      out = first;
    } else if (share1 != 0 && share1 + share2 != 0) {
      const auto mix = [=](auto a, auto b) { return MixColour(a, b, share1, share2); };
      out = {out.alpha, mix(first.red, second.red), mix(first.green, second.green), mix(first.blue, second.blue)};
    }
    out.alpha = FromSum<ChannelOf<P>>(share1 + share2);
    return out;
  }
};

template <class P, class Mix>
void Row(const void* first, const void* second, std::uint32_t ratio, void* out, std::size_t n) {
  const auto* a = static_cast<const P*>(first);
  const auto* b = static_cast<const P*>(second);
  auto* to = static_cast<P*>(out);
  const Weights weights(ratio);
  for (std::size_t i = 0; i < n; ++i) to[i] = Mix()(a[i], b[i], weights);
}

template <template <class> class Mix>
struct Rows {
  static constexpr BlendKernels::Row k8 = &Row<PF_Pixel8, Mix<PF_Pixel8>>;
  static constexpr BlendKernels::Row k16 = &Row<PF_Pixel16, Mix<PF_Pixel16>>;
  static constexpr BlendKernels::Row kFloat = &Row<PF_PixelFloat, Mix<PF_PixelFloat>>;
};

}  // namespace

constinit const BlendKernels kPortableBlendKernels = {
    {{Rows<Premultiplied>::k8, Rows<Premultiplied>::k16, Rows<Premultiplied>::kFloat},
     {Rows<Straight>::k8, Rows<Straight>::k16, Rows<Straight>::kFloat}}};

}  // namespace pf
