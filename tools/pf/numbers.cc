#include "numbers.h"

#include <fmt/format.h>

#include <cctype>
#include <cmath>
#include <cstdlib>

#include "PF/PF_Types.h"
#include "failure.h"

namespace pftool {
namespace {

/// A cursor over an option's text.
class Text {
 public:
  Text(std::string option, const std::string& text, std::string example)
      : option_(std::move(option)), text_(text), example_(std::move(example)) {}

  Failure Bad(const std::string& why) const {
    return UsageFailure("cannot use " + option_, "'" + text_ + "'", why, example_);
  }
  Failure BadCharacter() const {
    if (at_ >= text_.size()) return Bad("it ends too early");
    return Bad(fmt::format("character '{}' at position {} is not understood", text_[at_], at_ + 1));
  }
  bool HasDigit() const { return at_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_])); }
  int Whole(int lowest, const char* what) {
    if (!HasDigit()) throw BadCharacter();
    long value = 0;
    while (HasDigit()) {
      value = value * 10 + (text_[at_++] - '0');
      if (value > PF_MAX_WORLD_SIZE) throw Range(what, lowest);
    }
    if (value < lowest) throw Range(what, lowest);
    return static_cast<int>(value);
  }
  bool Take(char c) {
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  void Need(char c) {
    if (!Take(c)) throw BadCharacter();
  }
  void End() const {
    if (at_ != text_.size()) throw BadCharacter();
  }

 private:
  Failure Range(const char* what, int lowest) const {
    return Bad(fmt::format("the {} must lie in {} to {}", what, lowest, static_cast<int>(PF_MAX_WORLD_SIZE)));
  }

  std::string option_;
  const std::string& text_;
  std::string example_;
  std::size_t at_ = 0;
};

double Decimal(const std::string& option, const std::string& text, const std::string& example) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  const auto read = static_cast<std::size_t>(end - text.c_str());
  if (text.empty() || read != text.size()) {
    const std::string why = text.empty()
                                ? "it is empty"
                                : fmt::format("character '{}' at position {} is not understood", text[read], read + 1);
    throw UsageFailure("cannot use " + option, "'" + text + "'", why, example);
  }
  if (!std::isfinite(value)) {
    throw UsageFailure("cannot use " + option, "'" + text + "'", "it is not a finite number", example);
  }
  return value;
}

}  // namespace

SizeText ParseSize(const std::string& option, const std::string& text) {
  Text cursor(option, text, "write it like 1920x1080, 1920x or x1080");
  SizeText size;
  if (cursor.HasDigit()) size.width = cursor.Whole(PF_MIN_WORLD_SIZE, "width");
  cursor.Need('x');
  if (cursor.HasDigit() || size.width == 0) size.height = cursor.Whole(PF_MIN_WORLD_SIZE, "height");
  cursor.End();
  return size;
}

CropText ParseCrop(const std::string& option, const std::string& text) {
  Text cursor(option, text, "write it like 640x480+100+50");
  CropText crop;
  crop.width = cursor.Whole(PF_MIN_WORLD_SIZE, "width");
  cursor.Need('x');
  crop.height = cursor.Whole(PF_MIN_WORLD_SIZE, "height");
  cursor.Need('+');
  crop.left = cursor.Whole(0, "left edge");
  cursor.Need('+');
  crop.top = cursor.Whole(0, "top edge");
  cursor.End();
  return crop;
}

double ParsePercent(const std::string& text) {
  const char* example = "write a number above 0, like 50 or 200";
  const double value = Decimal("--percent", text, example);
  if (!(value > 0)) throw UsageFailure("cannot use --percent", "'" + text + "'", "it is not above 0", example);
  return value;
}

double ParseLimit(const std::string& option, const std::string& text) {
  const char* example = "write a number from 0 on, like 1 or 0.004";
  const double value = Decimal(option, text, example);
  if (value < 0) throw UsageFailure("cannot use " + option, "'" + text + "'", "it is below 0", example);
  return value;
}

double ParseNumber(const std::string& option, const std::string& text, double low, double high) {
  const std::string example = fmt::format("write a number from {:g} to {:g}", low, high);
  const double value = Decimal(option, text, example);
  if (value >= low && value <= high) return value;
  const std::string why = value < low ? fmt::format("it is below {:g}", low) : fmt::format("it is above {:g}", high);
  throw UsageFailure("cannot use " + option, "'" + text + "'", why, example);
}

RampText ParseRamp(const std::string& option, const std::string& text, double low, double high) {
  const std::size_t colon = text.find(':');
  const double first = ParseNumber(option, text.substr(0, colon), low, high);
  return {first, colon == std::string::npos ? first : ParseNumber(option, text.substr(colon + 1), low, high)};
}

PairText ParsePair(const std::string& option, const std::string& text, double low, double high) {
  const std::size_t comma = text.find(',');
  if (comma == std::string::npos) {
    const double both = ParseNumber(option, text, low, high);
    return {both, both};
  }
  const std::string x = text.substr(0, comma), y = text.substr(comma + 1);
  const bool more = y.find(',') != std::string::npos;
  if (more || x.empty() || y.empty()) {
    throw UsageFailure("cannot use " + option, "'" + text + "'",
                       more ? "it has more than two numbers" : "a number is missing beside the comma",
                       "write one number for both directions, or two like 12,4");
  }
  return {ParseNumber(option, x, low, high), ParseNumber(option, y, low, high)};
}

PointText ParsePoint(const std::string& option, const std::string& text) {
  constexpr double kFar = 100000;
  const std::string example = "write it like 100,50";
  const std::size_t comma = text.find(',');
  if (comma == std::string::npos) {
    throw UsageFailure("cannot use " + option, "'" + text + "'", "it has no comma", example);
  }
  const auto coordinate = [&](const std::string& part) {
    const double value = ParseNumber(option, part, -kFar, kFar);
    if (value != std::floor(value)) {
      throw UsageFailure("cannot use " + option, "'" + text + "'", "it is not a whole number of pixels", example);
    }
    return static_cast<int>(value);
  };
  return {coordinate(text.substr(0, comma)), coordinate(text.substr(comma + 1))};
}

}  // namespace pftool
