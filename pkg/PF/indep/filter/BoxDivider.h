// The mean of a box without a division.
#pragma once

#include <bit>
#include <cstdint>

namespace pf {

// Quotients of sums that change little from one to the next, all in 16 bits: beside each quotient its remainder r is
// kept, and a change of at most kLargest to either side takes n = r + change + lead * w to a new quotient n / w - lead.
//
// n < 2^16, for w < 2^14. As below with N + 1 <= 2^16 and k = L + 15: (N + 1) e <= 2^15 w < 2^k.
struct StepDivider {
  static constexpr std::uint32_t kLargest = 64 * 255;

  std::uint16_t window, lead;
  std::uint16_t bias;  // of stored remainders: lead * w, and what a multiplier that is too small needs
  std::uint16_t multiplier;
  int shift;  // of the high half of a product

  // Whether quotients of bytes can be found in this way, and in no shorter one.
  static constexpr bool Fits(std::uint32_t w) { return w > 255 && w < (1u << 14); }

  // w odd, as fits.
  constexpr explicit StepDivider(std::uint32_t w)
      : window(static_cast<std::uint16_t>(w)),
        lead(static_cast<std::uint16_t>((kLargest + w - 1) / w)),
        bias(static_cast<std::uint16_t>(lead * w)),
        multiplier(0),
        shift(static_cast<int>(std::bit_width(w)) - 1) {
    const std::uint32_t one = std::uint32_t{1} << (shift + 16), below = one / w;
    const bool up = one - below * w > w / 2;
    multiplier = static_cast<std::uint16_t>(up ? below + 1 : below);
    if (!up) ++bias;
  }

  // n as above, with the bias.
  constexpr std::uint32_t QuotientOf(std::uint32_t n) const { return n * multiplier >> (shift + 16); }
};

// Rounded means of w values of 16 bits, w odd, in floats: sums are counted down from those of values in the middle, so
// that neither they nor means are far from 0, and the integer nearest to sum * (1 / w) is the mean. No mean lies
// halfway between integers, but 1 / (2 w) from there. Sums are exact below 2^24, and 1 / w and the product are each
// rounded by 2^-24 of themselves at most, that is by less than 2^15 * 2^-23 = 2^-8 together.
struct NearDivider {
  static constexpr std::uint16_t kCentre = 32768;

  static constexpr bool Fits(std::uint32_t w) { return w < 128; }
  static constexpr float InverseOf(std::uint32_t w) { return 1 / static_cast<float>(w); }
};

// floor((sum + w / 2) / w), for sums of w values of 8 or 16 bits, is (sum + bias) * multiplier >> shift.
//
// With N = sum + w / 2 < w 2^bits and 2^(L-1) < w < 2^L: let k >= 2 L + bits - 1, m the integer nearest to 2^k / w and
// e = |m w - 2^k| <= w / 2, so that (N + 1) e <= w^2 2^(bits - 1) < 2^k. When m is the larger, N m / 2^k lies in
// [N / w, (N + 1) / w), where there is no integer but the first one; when it is the smaller, (N + 1) m / 2^k lies
// there. k = L + 31 leaves 32 bits for m and for sum + bias, and k = L + 15, where it is enough, 16.
struct BoxDivider {
  std::uint32_t multiplier;
  std::uint32_t bias;
  int shift;
  std::uint32_t window;
  StepDivider steps;

  // w odd, 3..65535; bits 8 or 16.
  constexpr BoxDivider(std::uint32_t w, int bits) : window(w), steps(StepDivider::Fits(w) ? w : 257) {
    shift = static_cast<int>(std::bit_width(w)) + (bits == 8 && w < 256 ? 15 : 31);
    const std::uint64_t one = std::uint64_t{1} << shift;
    const std::uint64_t below = one / w;
    const bool up = one - below * w > w / 2;
    multiplier = static_cast<std::uint32_t>(up ? below + 1 : below);
    bias = w / 2 + (up ? 0 : 1);
  }

  // Whether sums, with the bias, and the multiplier fit 16 bits.
  constexpr bool narrow() const { return shift < 32; }

  constexpr std::uint32_t MeanOf(std::uint32_t sum) const {
    return static_cast<std::uint32_t>((std::uint64_t{sum} + bias) * multiplier >> shift);
  }
};

}  // namespace pf
