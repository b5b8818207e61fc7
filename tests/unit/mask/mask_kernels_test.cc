// After: products that are rounded otherwise at a single value, scales above full that overflow, vector
// kernels that differ from plain formulas or touch what lies beside the row, colour that changes with alpha.
#include "mask/MaskKernels.h"

#include <bit>

#include "support/MaskValues.h"
#include "support/Targets.h"

namespace {

using pf::MaskKernels;
using pftest::AnyValue;
using pftest::GuardedMemory;
using pftest::Random;

template <class F>
void ForEveryKernelSet(F f) {
  {
    SCOPED_TRACE("portable");
    f(pf::kPortableMaskKernels);
  }
  pftest::ForEachTarget([&] { f(pf::VectorMaskKernels()); });
}

// \name Plain formulas, on integers wide enough for everything
// @{
std::uint64_t Full(std::uint8_t) { return 255; }
std::uint64_t Full(std::uint16_t) { return 32768; }

// v * scale / full to nearest, 16-bit halves down, limited.
std::uint8_t Faded(std::uint8_t v, std::uint64_t scale) {
  return static_cast<std::uint8_t>(std::min<std::uint64_t>((2 * v * scale + 255) / 510, 255));
}
std::uint16_t Faded(std::uint16_t v, std::uint64_t scale) {
  const std::uint64_t whole = v * scale / 32768, rest = v * scale % 32768;
  return static_cast<std::uint16_t>(std::min<std::uint64_t>(whole + (rest > 16384 ? 1 : 0), 32768));
}
float Faded(float v, float scale) { return v * scale; }

template <class T>
T Inverse(T v) {
  if constexpr (std::is_same_v<T, float>) {
    return 1.0f - v;
  } else {
    return static_cast<T>(Full(v) - v);
  }
}

template <class A, class M>
A Merged(A a, M m) {
  if (m == 0) return A{0};
  if (m == Full(m)) return a;
  if constexpr (std::is_same_v<A, float>) {
    const float unit = sizeof(M) == 1 ? 0.003921569f : 1.0f / 32768.0f;
    const float factor = static_cast<float>(m) * unit;
    return a * factor;
  } else {
    const std::uint64_t product = std::uint64_t{a} * m, full = Full(m);
    const std::uint64_t rest = product % full;
    const bool up = full == 255 ? 2 * rest >= full : 2 * rest > full;
    return static_cast<A>(std::min(product / full + (up ? 1 : 0), Full(a)));
  }
}
// @}

// Values in memory that faults right before or behind them.
template <class T>
struct GuardedValues {
  explicit GuardedValues(const std::vector<T>& from, GuardedMemory::Where where = GuardedMemory::kEnd)
      : memory(from.size() * sizeof(T), where), values(reinterpret_cast<T*>(memory.data())), count(from.size()) {
    std::copy(from.begin(), from.end(), values);
  }
  bool Equals(const std::vector<T>& other) const {
    return count == 0 || std::memcmp(values, other.data(), count * sizeof(T)) == 0;
  }
  GuardedMemory memory;
  T* values;
  std::size_t count;
};

template <class T>
std::vector<T> Mapped(std::vector<T> values, const std::function<T(T)>& f) {
  for (T& v : values) v = f(v);
  return values;
}

template <class T>
void ExpectValues(const MaskKernels& kernels, const std::vector<T>& in, const std::vector<pf::ScaleOf<T>>& scales,
                  GuardedMemory::Where where) {
  const auto& own = kernels.Of<T>();
  GuardedValues<T> filled(in, where);
  const T value = in.empty() ? T{} : in.back();
  own.fill(filled.values, in.size(), value);
  ASSERT_TRUE(filled.Equals(std::vector<T>(in.size(), value))) << in.size() << " values";
  GuardedValues<T> inverted(in, where);
  own.invert(inverted.values, in.size());
  ASSERT_TRUE(inverted.Equals(Mapped<T>(in, &Inverse<T>))) << in.size() << " values";
  for (const auto scale : scales) {
    GuardedValues<T> faded(in, where), both(in, where);
    own.fade(faded.values, in.size(), scale);
    ASSERT_TRUE(faded.Equals(Mapped<T>(in, [=](T v) { return Faded(v, scale); }))) << in.size() << ", " << scale;
    own.invert_and_fade(both.values, in.size(), scale);
    ASSERT_TRUE(both.Equals(Mapped<T>(in, [=](T v) { return Faded(Inverse(v), scale); })))
        << in.size() << " values, " << scale;
  }
}

template <class T>
std::vector<T> EveryValue() {
  std::vector<T> all(std::size_t{1} << (8 * sizeof(T)));
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<T>(i);
  return all;
}

template <class T>
std::vector<T> RandomValues(std::size_t n, Random& random) {
  std::vector<T> values(n);
  for (T& v : values) v = AnyValue<T>(random);
  return values;
}

std::vector<std::uint32_t> Scales8() {
  std::vector<std::uint32_t> scales = {4000, 32767, 32768, 32769, 65023, 65024, 65025};
  for (std::uint32_t s = 0; s < 1100; ++s) scales.push_back(s);
  return scales;
}

std::vector<std::uint32_t> Scales16(Random& random) {
  std::vector<std::uint32_t> scales = {0,     1,     2,     16383,   16384,   16385,         21845,
                                       32767, 32768, 32769, 49151,   65535,   65536,         65537,
                                       98303, 98304, 99999, 1 << 20, 1 << 29, (1 << 30) - 1, 1 << 30};
  for (int i = 0; i < 8; ++i) scales.push_back(static_cast<std::uint32_t>(random() % 32768));
  return scales;
}

const std::vector<float> kFactors = {0.0f, 0.5f, 1.0f, 0.1f, 1e-39f, 3.0f, 3e38f, INFINITY};

TEST(MaskKernels, EveryValueUnderEveryKindOfScale) {
  Random random(3);
  const auto floats = RandomValues<float>(3000, random);
  const auto scales16 = Scales16(random);
  ForEveryKernelSet([&](const MaskKernels& kernels) {
    ExpectValues(kernels, EveryValue<std::uint8_t>(), Scales8(), GuardedMemory::kEnd);
    ExpectValues(kernels, EveryValue<std::uint16_t>(), scales16, GuardedMemory::kEnd);
    ExpectValues(kernels, floats, kFactors, GuardedMemory::kEnd);
  });
}

TEST(MaskKernels, EveryLengthStaysInsideItsMemory) {
  ForEveryKernelSet([](const MaskKernels& kernels) {
    Random random(4);
    for (const auto where : {GuardedMemory::kEnd, GuardedMemory::kStart}) {
      for (std::size_t n = 0; n < 140; ++n) {
        ExpectValues(kernels, RandomValues<std::uint8_t>(n, random), {100, 300}, where);
        ExpectValues(kernels, RandomValues<std::uint16_t>(n, random), {100, 40000}, where);
        ExpectValues(kernels, RandomValues<float>(n, random), {0.3f}, where);
      }
    }
  });
}

template <class P, class M>
void ExpectMerge(const MaskKernels& kernels, const std::vector<P>& pixels, const std::vector<M>& mask,
                 GuardedMemory::Where where) {
  std::vector<P> expected = pixels;
  for (std::size_t i = 0; i < pixels.size(); ++i) expected[i].alpha = Merged(pixels[i].alpha, mask[i]);
  const GuardedValues<P> actual(pixels, where);
  const GuardedValues<M> values(mask, where);
  kernels.merge[pf::DepthIndex(pf::DepthTraits<P>::kDepth)][sizeof(M) - 1](actual.values, values.values, pixels.size());
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    ASSERT_EQ(std::memcmp(&actual.values[i], &expected[i], sizeof(P)), 0)
        << sizeof(P) << " bytes a pixel, mask of " << sizeof(M) << ", pixel " << i << " of " << pixels.size()
        << ", alpha " << +pixels[i].alpha << " * " << +mask[i] << " = " << +actual.values[i].alpha;
  }
}

template <class P>
std::vector<P> RandomPixels(std::size_t n, Random& random) {
  using C = pf::ChannelOf<P>;
  std::vector<P> pixels(n);
  for (P& p : pixels) p = {AnyValue<C>(random), AnyValue<C>(random), AnyValue<C>(random), AnyValue<C>(random)};
  return pixels;
}

TEST(MaskKernels, MergingEveryAlphaWithEveryMaskOf8Bits) {
  Random random(5);
  const auto shorts = EveryValue<std::uint16_t>();
  auto deep = RandomPixels<PF_Pixel16>(65536, random);
  for (std::size_t i = 0; i < deep.size(); ++i) deep[i].alpha = shorts[i];
  auto plain = RandomPixels<PF_Pixel8>(256, random);
  for (std::size_t i = 0; i < plain.size(); ++i) plain[i].alpha = static_cast<std::uint8_t>(i);
  const auto real = RandomPixels<PF_PixelFloat>(500, random);
  ForEveryKernelSet([&](const MaskKernels& kernels) {
    for (int m = 0; m < 256; ++m) {
      const auto mask = [m](std::size_t n) { return std::vector<std::uint8_t>(n, static_cast<std::uint8_t>(m)); };
      ExpectMerge(kernels, plain, mask(plain.size()), GuardedMemory::kEnd);
      ExpectMerge(kernels, real, mask(real.size()), GuardedMemory::kEnd);
      // Every alpha takes long; the others take a few of them.
      const bool thorough = m % 32 == 1 || m > 250;
      const auto some = thorough ? deep : std::vector(deep.begin() + 32000, deep.begin() + 33000);
      ExpectMerge(kernels, some, mask(some.size()), GuardedMemory::kEnd);
    }
  });
}

template <class P>
void ExpectDeepMerges(const MaskKernels& kernels, Random& random) {
  const auto mask = EveryValue<std::uint16_t>();
  for (int round = 0; round < 3; ++round) {
    ExpectMerge(kernels, RandomPixels<P>(mask.size(), random), mask, GuardedMemory::kEnd);
  }
}

TEST(MaskKernels, MergingMasksOf16BitsAndEveryLength) {
  ForEveryKernelSet([](const MaskKernels& kernels) {
    Random random(6);
    ExpectDeepMerges<PF_Pixel8>(kernels, random);
    ExpectDeepMerges<PF_Pixel16>(kernels, random);
    ExpectDeepMerges<PF_PixelFloat>(kernels, random);
    for (const auto where : {GuardedMemory::kEnd, GuardedMemory::kStart}) {
      for (std::size_t n = 0; n < 40; ++n) {
        const auto plain = RandomValues<std::uint8_t>(n, random);
        const auto deep = RandomValues<std::uint16_t>(n, random);
        ExpectMerge(kernels, RandomPixels<PF_Pixel8>(n, random), plain, where);
        ExpectMerge(kernels, RandomPixels<PF_Pixel8>(n, random), deep, where);
        ExpectMerge(kernels, RandomPixels<PF_Pixel16>(n, random), plain, where);
        ExpectMerge(kernels, RandomPixels<PF_Pixel16>(n, random), deep, where);
        ExpectMerge(kernels, RandomPixels<PF_PixelFloat>(n, random), plain, where);
        ExpectMerge(kernels, RandomPixels<PF_PixelFloat>(n, random), deep, where);
      }
    }
  });
}

}  // namespace
