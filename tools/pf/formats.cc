#include "formats.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>

#include "failure.h"

namespace pftool {

const char* AlphaText(Alpha alpha) {
  switch (alpha) {
    case Alpha::kNone:
      return "no alpha";
    case Alpha::kStraight:
      return "straight alpha";
    default:
      return "premultiplied alpha";
  }
}

const std::vector<FileFormat>& FileFormats() {
  // name, writer, extensions, 8, 16, half, float, alpha, channels, lossy
  static const std::vector<FileFormat> formats = {
      {"png", "png", "png", true, true, false, false, AlphaRule::kStraight, "1234", false},
      {"tiff", "tiff", "tif tiff", true, true, false, true, AlphaRule::kEither, "1234", false},
      {"exr", "openexr", "exr", false, false, true, true, AlphaRule::kPremultiplied, "1234", false},
      {"jpeg", "jpeg", "jpg jpeg", true, false, false, false, AlphaRule::kNone, "13", true},
      {"targa", "targa", "tga", true, false, false, false, AlphaRule::kStraight, "134", false},
      {"bmp", "bmp", "bmp", true, false, false, false, AlphaRule::kStraight, "134", false},
      {"dpx", "dpx", "dpx", true, true, false, true, AlphaRule::kPremultiplied, "34", false},
      {"pnm", "pnm", "ppm pgm pnm", true, false, false, false, AlphaRule::kNone, "13", false},
  };
  return formats;
}

bool FileFormat::HoldsChannels(int count) const {
  return std::strchr(channels, static_cast<char>('0' + count)) != nullptr;
}

int FileFormat::DepthFor(int depth) const {
  for (int candidate : {8, 16, 32}) {
    if (candidate >= depth && HoldsDepth(candidate)) return candidate;
  }
  for (int candidate : {32, 16, 8}) {
    if (HoldsDepth(candidate)) return candidate;
  }
  return depth;
}

std::string FormatNames() {
  std::string names;
  for (const FileFormat& format : FileFormats()) names += (names.empty() ? "" : ", ") + std::string(format.name);
  return names;
}

namespace {

bool HasExtension(const FileFormat& format, const std::string& extension) {
  std::istringstream list(format.extensions);
  for (std::string one; list >> one;) {
    if (one == extension) return true;
  }
  return false;
}

std::string LowerExtension(const std::string& path) {
  const std::size_t dot = path.rfind('.'), slash = path.rfind('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
  std::string extension = path.substr(dot + 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

}  // namespace

const FileFormat& FormatFor(const std::string& output, const std::string& wanted) {
  const std::string extension = output == "-" && wanted.empty() ? "png" : wanted.empty() ? LowerExtension(output) : "";
  for (const FileFormat& format : FileFormats()) {
    if (wanted.empty() ? HasExtension(format, extension) : wanted == format.name) return format;
  }
  if (!wanted.empty()) {
    throw UsageFailure("cannot use --format", "'" + wanted + "'", "that format is not written",
                       "use one of " + FormatNames());
  }
  throw UsageFailure("cannot write", QuotedOutput(output),
                     extension.empty() ? "the name has no extension that tells a format"
                                       : "pictures of type '." + extension + "' are not written",
                     "use an extension of " + FormatNames() + ", or --format");
}

}  // namespace pftool
