#include "retime/fraction.h"

#include <fmt/format.h>

#include <cctype>
#include <numeric>

#include "failure.h"

namespace pftool {
namespace {

constexpr std::int64_t kMostDecimals = 1'000'000'000;

/// Reads digits, and decimals where they are allowed.
class Digits {
 public:
  Digits(const std::string& option, const std::string& text, const std::string& example)
      : option_(option), text_(text), example_(example) {}

  Failure Bad(const std::string& why) const {
    return UsageFailure("cannot use " + option_, "'" + text_ + "'", why, example_);
  }
  Failure BadCharacter() const {
    if (text_.empty()) return Bad("it is empty");
    if (at_ >= text_.size()) return Bad("it ends too early");
    return Bad(fmt::format("character '{}' at position {} is not understood", text_[at_], at_ + 1));
  }
  Fraction Number() {
    std::int64_t value = 0, scale = 1;
    bool any = Take(&value, nullptr);
    if (at_ < text_.size() && text_[at_] == '.') {
      ++at_;
      any = Take(&value, &scale) || any;
    }
    if (!any) throw BadCharacter();
    return MakeFraction(value, scale);
  }
  bool TakeSlash() {
    if (at_ >= text_.size() || text_[at_] != '/') return false;
    ++at_;
    return true;
  }
  void End() const {
    if (at_ != text_.size()) throw BadCharacter();
  }

 private:
  bool Take(std::int64_t* value, std::int64_t* scale) {
    const std::size_t start = at_;
    for (; at_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_])); ++at_) {
      *value = *value * 10 + (text_[at_] - '0');
      if (*value > kLargestPart * kMostDecimals / 10) throw Bad("it has too many digits");
      if (scale && (*scale *= 10) > kMostDecimals) throw Bad("it has more than nine decimals");
    }
    return at_ > start;
  }

  const std::string &option_, &text_, &example_;
  std::size_t at_ = 0;
};

}  // namespace

Fraction MakeFraction(std::int64_t numerator, std::int64_t denominator) {
  const std::int64_t common = std::gcd(numerator, denominator);
  const Fraction fraction = {numerator / common, denominator / common};
  if (fraction.numerator <= kLargestPart && fraction.denominator <= kLargestPart) return fraction;
  throw UsageFailure("cannot count with", fmt::format("{}/{}", fraction.numerator, fraction.denominator),
                     fmt::format("the parts of a fraction may not be above {}", kLargestPart),
                     "give rates and speeds with fewer digits");
}

Fraction operator*(const Fraction& a, const Fraction& b) {
  // Divided crosswise first, the products stay below 2^62.
  const std::int64_t left = std::gcd(a.numerator, b.denominator), right = std::gcd(b.numerator, a.denominator);
  return MakeFraction((a.numerator / left) * (b.numerator / right), (a.denominator / right) * (b.denominator / left));
}

Fraction operator/(const Fraction& a, const Fraction& b) { return a * Fraction{b.denominator, b.numerator}; }

Fraction ParseFraction(const std::string& option, const std::string& text, const std::string& example) {
  Digits digits(option, text, example);
  const Fraction number = digits.Number();
  if (!digits.TakeSlash()) {
    digits.End();
    return number;
  }
  const Fraction divisor = digits.Number();
  digits.End();
  if (divisor.numerator == 0) throw digits.Bad("it divides by 0");
  return number / divisor;
}

}  // namespace pftool
