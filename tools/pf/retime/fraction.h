/// \file
/// Exact fractions for rates and times, so that nothing drifts over any number of frames.
#ifndef TOOLS_PF_RETIME_FRACTION_H
#define TOOLS_PF_RETIME_FRACTION_H

#include <cstdint>
#include <string>

namespace pftool {

/// A fraction in lowest terms, not negative. Both parts are at most kLargestPart.
struct Fraction {
  std::int64_t numerator = 0;
  std::int64_t denominator = 1;

  double value() const { return static_cast<double>(numerator) / static_cast<double>(denominator); }
  bool operator==(const Fraction&) const = default;
};
inline constexpr std::int64_t kLargestPart = 2'000'000'000;

/// In lowest terms. \throws Failure (64) when a part is larger than kLargestPart.
Fraction MakeFraction(std::int64_t numerator, std::int64_t denominator);
Fraction operator*(const Fraction& a, const Fraction& b);
/// \param b not 0
Fraction operator/(const Fraction& a, const Fraction& b);

/// A whole number, a decimal number or a fraction: "24", "23.976", "24000/1001". Decimals are taken exactly as they
/// are written. \throws Failure (64), naming `option` and the character that is not understood; \param example what
/// to write instead.
Fraction ParseFraction(const std::string& option, const std::string& text, const std::string& example);

}  // namespace pftool

#endif
