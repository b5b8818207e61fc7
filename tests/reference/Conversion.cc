#include "reference/Conversion.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace pftest {
namespace {

using Wide = std::int64_t;

enum class Half { kUp, kDown, kAway };

// numerator / denominator to nearest; denominator > 0.
Wide Nearest(Wide numerator, Wide denominator, Half half) {
  Wide quotient = numerator / denominator, rest = numerator % denominator;
  if (rest < 0) {
    rest += denominator;
    --quotient;
  }
  if (2 * rest != denominator) return quotient + (2 * rest > denominator ? 1 : 0);
  const bool up = half == Half::kUp || (half == Half::kAway && numerator > 0);
  return quotient + (up ? 1 : 0);
}

double Single(double v) { return static_cast<double>(static_cast<float>(v)); }

Wide FullOf(int depth) { return depth == 8 ? 255 : 32768; }

// Rounds on the scale of the depth as products do.
Wide Scaled(Wide product, int depth) { return Nearest(product, FullOf(depth), Half::kDown); }

Wide Unmultiply(Wide c, Wide a, int depth) {
  if (a == 0) return 0;
  return std::min(Nearest(FullOf(depth) * c, a, Half::kUp), FullOf(depth));
}

Wide OntoMatte(Wide c, Wide a, Wide m, int depth) {
  const Wide limited = std::min(a, FullOf(depth));
  return std::min<Wide>(Scaled(c * limited + m * (FullOf(depth) - limited), depth), 65535);
}

Wide WithoutMatte(Wide c, Wide a, Wide m, int depth) {
  if (a == 0) return 0;
  return std::clamp<Wide>(m + Nearest((c - m) * FullOf(depth), a, Half::kAway), 0, FullOf(depth));
}

template <class C>
void ConvertInteger(const C* in, int to, void* out, const std::uint32_t* random) {
  for (int i = 0; i < 4; ++i) {
    const std::uint64_t v = in[i];
    if (to == 32) {
      const double unit = sizeof(C) == 1 ? Single(1.0 / 255.0) : 1.0 / 32768.0;
      static_cast<float*>(out)[i] = static_cast<float>(static_cast<double>(v) * unit);
    } else if (to == 16) {
      static_cast<std::uint16_t*>(out)[i] = static_cast<std::uint16_t>((v * 8421504 + 33200) / 65536);
    } else {
      const std::uint64_t noise = random != nullptr ? random[i] % 32768 : 16384;
      static_cast<std::uint8_t*>(out)[i] = static_cast<std::uint8_t>((v * 255 + noise) / 32768 % 256);
    }
  }
}

void ConvertFloat(const float* in, int to, void* out) {
  for (int i = 0; i < 4; ++i) {
    const std::uint32_t v = i == 0 ? ReferenceAlphaFromFloat(in[i], to) : ReferenceColourFromFloat(in[i], to);
    if (to == 8) static_cast<std::uint8_t*>(out)[i] = static_cast<std::uint8_t>(v);
    if (to == 16) static_cast<std::uint16_t*>(out)[i] = static_cast<std::uint16_t>(v);
  }
}

}  // namespace

std::uint32_t ReferenceAlphaFromFloat(float v, int depth) {
  const double rounded = Single(Single(static_cast<double>(v) * static_cast<double>(FullOf(depth))) + 0.5);
  const double whole = std::trunc(rounded);
  if (!(std::fabs(whole) < 2147483648.0)) return 0;  // the low bits of 0x80000000
  const Wide modulus = depth == 8 ? 256 : 65536;
  const Wide low = static_cast<Wide>(whole) % modulus;
  return static_cast<std::uint32_t>(low < 0 ? low + modulus : low);
}

std::uint32_t ReferenceColourFromFloat(float v, int depth) {
  if (std::isnan(v) || v < 0) return 0;
  const double scaled = Single(static_cast<double>(v) * static_cast<double>(FullOf(depth)));
  if (scaled > static_cast<double>(FullOf(depth))) return static_cast<std::uint32_t>(FullOf(depth));
  return static_cast<std::uint32_t>(Single(scaled + 0.5));
}

void ReferenceConvert(int from, const void* in, int to, void* out, const std::uint32_t* random) {
  if (from == to) {
    std::memcpy(out, in, static_cast<std::size_t>(from) / 2);
  } else if (from == 8) {
    ConvertInteger(static_cast<const std::uint8_t*>(in), to, out, nullptr);
  } else if (from == 16) {
    ConvertInteger(static_cast<const std::uint16_t*>(in), to, out, random);
  } else {
    ConvertFloat(static_cast<const float*>(in), to, out);
  }
}

std::uint8_t ReferencePremultiply(std::uint8_t c, std::uint8_t a) {
  return static_cast<std::uint8_t>(Scaled(Wide{c} * a, 8));
}
std::uint16_t ReferencePremultiply(std::uint16_t c, std::uint16_t a) {
  return static_cast<std::uint16_t>(std::min<Wide>(Scaled(Wide{c} * a, 16), 65535));
}
float ReferencePremultiply(float c, float a) {
  return static_cast<float>(static_cast<double>(c) * static_cast<double>(a));
}

std::uint8_t ReferenceUnmultiply(std::uint8_t c, std::uint8_t a) {
  return static_cast<std::uint8_t>(Unmultiply(c, a, 8));
}
std::uint16_t ReferenceUnmultiply(std::uint16_t c, std::uint16_t a) {
  return static_cast<std::uint16_t>(Unmultiply(c, a, 16));
}
float ReferenceUnmultiply(float c, float a) {
  return a > 0 ? static_cast<float>(static_cast<double>(c) / static_cast<double>(a)) : 0.0f;
}

std::uint8_t ReferenceOntoMatte(std::uint8_t c, std::uint8_t a, std::uint8_t m) {
  return static_cast<std::uint8_t>(OntoMatte(c, a, m, 8));
}
std::uint16_t ReferenceOntoMatte(std::uint16_t c, std::uint16_t a, std::uint16_t m) {
  return static_cast<std::uint16_t>(OntoMatte(c, a, m, 16));
}
float ReferenceOntoMatte(float c, float a, float m) {
  const double away = Single(static_cast<double>(c) - static_cast<double>(m));
  return static_cast<float>(static_cast<double>(m) + Single(away * static_cast<double>(a)));
}

std::uint8_t ReferenceWithoutMatte(std::uint8_t c, std::uint8_t a, std::uint8_t m) {
  return static_cast<std::uint8_t>(WithoutMatte(c, a, m, 8));
}
std::uint16_t ReferenceWithoutMatte(std::uint16_t c, std::uint16_t a, std::uint16_t m) {
  return static_cast<std::uint16_t>(WithoutMatte(c, a, m, 16));
}
float ReferenceWithoutMatte(float c, float a, float m) {
  if (!(a > 0)) return 0.0f;
  const double away = Single(static_cast<double>(c) - static_cast<double>(m));
  return static_cast<float>(static_cast<double>(m) + Single(away / static_cast<double>(a)));
}

}  // namespace pftest
