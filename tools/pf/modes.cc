#include "modes.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "PF/PF_TransferModes.h"
#include "failure.h"

namespace pftool {
namespace {

// Steps from one word to another: letters put in, taken out or replaced.
std::size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

Failure Unknown(const std::string& text, const std::string& why, const std::string& next) {
  return UsageFailure("cannot use --mode", "'" + text + "'", why, next);
}

}  // namespace

const std::vector<ModeText>& ModeTexts() {
  static const std::vector<ModeText> texts = {
      {-3, "premultiplied-over", "both premultiplied: s + d (1 - a_s), alpha too"},
      {-2, "premultiplied-in", "both premultiplied: d a_s, alpha too"},
      {0, "copy", "s, alpha too"},
      {1, "behind", "(c_s a_s + (c_d - c_s a_s) a_d) / a_r"},
      {2, "over", "(c_d a_d + (c_s - c_d a_d) a_s) / a_r"},
      {3, "ignore", "d"},
      {4, "add", "on black: c_s + b"},
      {5, "multiply", "on white: c_s b"},
      {6, "screen", "on black: 1 - (1 - c_s) (1 - b)"},
      {7, "overlay", "on grey: 2 c_s b below b = 1/2, else 1 - 2 (1 - b) (1 - c_s)"},
      {8, "soft-light", "on grey: b + (2 c_s - 1) T(b), darkening below c_s = 1/2, lightening above"},
      {9, "hard-light", "on grey: b + (2 c_s - 1) (1 - b) from c_s = 1/2, else 2 b c_s"},
      {10, "darken", "on white: min(c_s, b)"},
      {11, "lighten", "on black: max(c_s, b)"},
      {12, "difference", "on black: |b - c_s|"},
      {13, "hue", "hue of s; saturation and luminance of d"},
      {14, "saturation", "saturation of s; hue and luminance of d"},
      {15, "color", "hue and saturation of s; luminance of d"},
      {16, "luminosity", "luminance of s; hue and saturation of d"},
      {17, "alpha-multiply", "alpha: a_d a_s; colour of d"},
      {18, "luma-multiply", "alpha: a_d L(s) a_s; colour of d"},
      {19, "alpha-cutout", "alpha: a_d (1 - a_s); colour of d"},
      {20, "luma-cutout", "alpha: a_d (1 - L(s) a_s); colour of d"},
      {21, "premul-over", "s premultiplied: (c_d a_d (1 - a_s) + c_s) / a_r"},
      {22, "alpha-add", "(c_d a_d + c_s a_s) / (a_s + a_d), alpha a_s + a_d up to 1"},
      {23, "color-dodge", "on black: b / (1 - c_s), at most 1"},
      {24, "color-burn", "on white: 1 - (1 - b) / c_s"},
      {25, "exclusion", "on black: c_s + b - 2 c_s b"},
      {26, "difference-b", "overlapping: |c_d - c_s|"},
      {27, "color-dodge-b", "overlapping: c_d / (1 - c_s), at most 1"},
      {28, "color-burn-b", "overlapping: 1 - min(1, (1 - c_d) / c_s)"},
      {29, "linear-dodge", "overlapping: c_s + c_d"},
      {30, "linear-burn", "overlapping: max(0, c_s + c_d - 1)"},
      {31, "linear-light", "overlapping: c_d + 2 c_s - 1"},
      {32, "vivid-light", "overlapping: color-burn-b with 2 c_s up to 1/2, else color-dodge-b with 2 c_s - 1"},
      {33, "pin-light", "overlapping: min(2 c_s, c_d) below c_s = 1/2, max(2 c_s - 1, c_d) above"},
      {34, "hard-mix", "overlapping: 1 where c_s + c_d exceeds 1, else 0, with a ramp of 1/100000"},
      {35, "darker-color", "of s and d the one of lower luminance"},
      {36, "lighter-color", "of s and d the one of higher luminance"},
      {37, "subtract", "overlapping: c_d - c_s"},
      {38, "divide", "overlapping: c_d / |c_s|"},
      {39, "blue", "blue of s and alpha 1 where a_s >= 1/2, else d"},
      {40, "red-and-blue", "s where red and blue of d are not 0, else d"},
  };
  return texts;
}

const ModeText& ModeOf(std::int32_t number) {
  for (const ModeText& mode : ModeTexts()) {
    if (mode.number == number) return mode;
  }
  throw Unknown(std::to_string(number), "modes are numbered -3, -2 and 0 to 40", "'pf modes' lists them");
}

const ModeText& ParseMode(const std::string& text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size()) return ModeOf(number);
  const ModeText* closest = nullptr;
  std::size_t distance = std::string::npos;
  for (const ModeText& mode : ModeTexts()) {
    if (text == mode.name || text == PF_GetTransferModeName(mode.number)) return mode;
    const std::size_t steps = Distance(text, mode.name);
    if (steps < distance) {
      closest = &mode;
      distance = steps;
    }
  }
  throw Unknown(
      text, "there is no such mode",
      distance <= 3 ? fmt::format("did you mean '{}'? 'pf modes' lists all", closest->name) : "'pf modes' lists them");
}

}  // namespace pftool
