/// \file
/// What a gallery of the transfer modes shows: response maps and examples, made by the library.
#ifndef TOOLS_PF_GALLERY_H
#define TOOLS_PF_GALLERY_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "layers.h"

namespace pftool {

/// The depths that everything is shown and checked at.
inline constexpr std::array<int, 3> kGalleryDepths = {8, 16, 32};

/// Alphas of source and destination all over a map.
struct MapAlphas {
  double source, destination;
  const char* name;
  const char* text;
};
inline constexpr std::array<MapAlphas, 2> kMapAlphas = {
    {{1, 1, "opaque", "both opaque"}, {0.5, 0.5, "half", "alpha 1/2 on 1/2"}}};

/// A mode's response: source value from left to right, destination value from bottom to top; for modes of colours hues,
/// the destination's growing lighter.
struct ResponseMap {
  WorldPtr picture;  ///< 8 bits, straight
  double steps;      ///< largest distance of the library's result from the formula, see StepsInStoredLight
};
ResponseMap MakeMap(const ModeText& mode, int depth, const MapAlphas& alphas, Reporter* reporter);

/// The pictures that the examples lay onto each other: of one size, float, straight.
struct ExamplePictures {
  WorldPtr base, layer;
  std::string base_text, layer_text;
};
/// Read and cut to `width` x `height`; without a name made by rule.
ExamplePictures MakeExamplePictures(const std::optional<InputName>& base, const std::optional<InputName>& layer,
                                    int width, int height, const ReadOptions& options, Reporter* reporter);
/// The layer laid onto the base at a depth. \return 8 bits, straight
WorldPtr MakeExample(const ModeText& mode, int depth, const ExamplePictures& pictures,
                     const PF_LinearBlendingTables* tables, Reporter* reporter);
/// A copy with 8 bits.
WorldPtr ShownAt8Bits(const PF_World& world, Reporter* reporter);

/// One mode on the page.
struct GalleryEntry {
  const ModeText* mode;
  std::array<double, 3> steps;  ///< by kGalleryDepths
};
/// Names of a mode's files in the folder.
std::string MapFile(const ModeText& mode, const MapAlphas& alphas);
std::string ExampleFile(const ModeText& mode, int depth, bool linear);
/// "8 bits", "16 bits", "float".
std::string DepthText(int depth);
/// The page that shows the files, which stand beside it, base.png and layer.png among them.
std::string GalleryPage(const std::vector<GalleryEntry>& entries, const ExamplePictures& pictures,
                        const std::string& profile);

}  // namespace pftool

#endif
