// The mean of a box without a division.
#pragma once

#include <bit>
#include <cstdint>

namespace pf {

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

  // w odd, 3..65535; bits 8 or 16.
  constexpr BoxDivider(std::uint32_t w, int bits) {
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
