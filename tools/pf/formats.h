/// \file
/// The picture formats that the tool writes, and what each can hold.
#ifndef TOOLS_PF_FORMATS_H
#define TOOLS_PF_FORMATS_H

#include <string>
#include <vector>

namespace pftool {

/// How colours relate to alpha. kNone: there is no alpha, every pixel is opaque.
enum class Alpha { kNone, kStraight, kPremultiplied };
/// "no alpha", "straight alpha", "premultiplied alpha".
const char* AlphaText(Alpha alpha);

/// What a format does with alpha.
enum class AlphaRule { kNone, kStraight, kPremultiplied, kEither };

/// One output format.
struct FileFormat {
  const char* name;        ///< as --format takes it
  const char* plugin;      ///< name of the writer
  const char* extensions;  ///< separated by spaces, lower case
  bool holds8, holds16, holds_half, holds_float;
  AlphaRule alpha;
  const char* channels;  ///< counts that it stores, as in "134"
  bool lossy;

  bool HoldsChannels(int count) const;
  /// True when a world of this depth (8, 16, 32) keeps its own type in the format.
  bool HoldsDepth(int depth) const { return depth == 8 ? holds8 : depth == 16 ? holds16 : holds_float; }
  /// Depth that a world of `depth` is written with: its own, else the next deeper one that the format
  /// holds, else the deepest.
  int DepthFor(int depth) const;
};

/// All formats.
const std::vector<FileFormat>& FileFormats();
/// "png, tiff, ...".
std::string FormatNames();

/// Chooses the format of an output by `--format` when given, else by the extension; standard output
/// without `--format` is PNG. \throws Failure (64) for an unknown one.
const FileFormat& FormatFor(const std::string& output, const std::string& wanted);

}  // namespace pftool

#endif
