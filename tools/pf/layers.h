/// \file
/// Pictures laid onto pictures: what 'pf blend' and 'pf explain' have in common.
#ifndef TOOLS_PF_LAYERS_H
#define TOOLS_PF_LAYERS_H

#include <string>
#include <vector>

#include "light.h"
#include "mask.h"
#include "modes.h"
#include "numbers.h"
#include "picture_options.h"

namespace pftool {

/// The command line of a blend. Options that are given once serve all layers, else there is one for each.
struct BlendOptions {
  PictureFiles files;
  std::string base;
  std::vector<std::string> layers, modes, opacities, masks, places;
  Channel mask_channel = Channel::kAuto;
  LightOptions light;
  ReadOptions read;
  int depth = 0;
  const char* place_option = "--at";  ///< what `places` are called
};
/// All but the output. `place_option` is read.
void AddBlendOptions(CLI::App& app, BlendOptions* options);

/// One layer, with everything parsed.
struct LayerPlan {
  const ModeText* mode = nullptr;
  float opacity = 1;
  PointText at;
  std::string mask;  ///< empty: none
};
/// \throws Failure (64) for what is not understood and for counts that do not match the layers.
std::vector<LayerPlan> PlanLayers(const BlendOptions& options);

/// Names of base, layers and masks, in this order.
std::vector<std::string> InputNames(const BlendOptions& options, const std::vector<LayerPlan>& plan);

/// A picture in memory, its colours in the convention `alpha`.
struct LoadedPicture {
  PictureFacts facts;
  WorldPtr world;
  Alpha alpha = Alpha::kStraight;
};
LoadedPicture LoadPicture(const InputName& input, const ReadOptions& options, Reporter* reporter);
/// Converts to a depth, and premultiplies or divides where the convention is another one.
void Bring(LoadedPicture* picture, int depth, Alpha alpha, Reporter* reporter);
/// The depth that a stack of pictures is composed at.
int WorkingDepth(const std::vector<LoadedPicture>& pictures, int asked);

/// Brings both to the conventions of alpha that the layer's mode takes.
void BringFor(const LayerPlan& plan, LoadedPicture* base, LoadedPicture* layer, Reporter* reporter);
/// Whether the compositor divides the layer's colours by their alpha before the mode.
bool DividesLayer(const LayerPlan& plan, const LoadedPicture& layer);

/// Lays one layer onto the base; both are brought to what the mode takes.
void LayOnto(LoadedPicture* base, LoadedPicture* layer, const LayerPlan& plan, const PF_UnoBuffer* mask,
             const PF_LinearBlendingTables* tables, Reporter* reporter);

}  // namespace pftool

#endif
