/// \file
/// Numbers on the command line. Each function refuses what it does not understand with a Failure (64) that
/// names the option and the character.
#ifndef TOOLS_PF_NUMBERS_H
#define TOOLS_PF_NUMBERS_H

#include <string>

namespace pftool {

/// The largest radius of a blur, in pixels.
inline constexpr double kLargestRadius = 32767;

/// A size in pixels. In "800x" and "x600" the missing side is 0 and follows the picture's aspect.
struct SizeText {
  int width = 0, height = 0;
};
/// "WxH", "Wx" or "xH" with 1..30000 each.
SizeText ParseSize(const std::string& option, const std::string& text);

/// A part of a picture in pixels.
struct CropText {
  int width = 0, height = 0, left = 0, top = 0;
};
/// "WxH+X+Y".
CropText ParseCrop(const std::string& option, const std::string& text);

/// A finite decimal number above 0, as a percentage.
double ParsePercent(const std::string& text);

/// A finite decimal number of at least 0.
double ParseLimit(const std::string& option, const std::string& text);

/// A finite decimal number from `low` to `high`.
double ParseNumber(const std::string& option, const std::string& text, double low, double high);

/// Two numbers of that kind, "A:B"; a single one means both.
struct RampText {
  double first = 0, last = 0;
};
RampText ParseRamp(const std::string& option, const std::string& text, double low, double high);

/// Two numbers of that kind, "A,B"; a single one means both.
struct PairText {
  double x = 0, y = 0;
};
PairText ParsePair(const std::string& option, const std::string& text, double low, double high);

/// A place in pixels.
struct PointText {
  int x = 0, y = 0;
};
/// "X,Y" with -100000..100000 each.
PointText ParsePoint(const std::string& option, const std::string& text);

}  // namespace pftool

#endif
