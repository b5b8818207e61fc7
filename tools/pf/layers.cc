#include "layers.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "PF/PF_Compositing.h"
#include "engine.h"

namespace pftool {
namespace {

// The value of an option for a layer.
const std::string& ValueFor(const std::vector<std::string>& values, std::size_t layer) {
  return values.size() == 1 ? values.front() : values[layer];
}

void CheckCount(const char* option, const std::vector<std::string>& values, std::size_t layers) {
  if (values.size() <= 1 || values.size() == layers) return;
  throw UsageFailure("cannot use", option,
                     fmt::format("it is given {} times for {} layer{}", values.size(), layers, layers == 1 ? "" : "s"),
                     "give it once for all layers, or once for each in their order");
}

}  // namespace

void AddBlendOptions(CLI::App& app, BlendOptions* options) {
  app.add_option("base", options->base, "Picture or sequence at the bottom, or - for a pipe")
      ->required()
      ->type_name("BASE");
  app.add_option("layers", options->layers, "Pictures or sequences, laid on it one after the other")
      ->required()
      ->type_name("LAYER...");
  const auto each = [&app](const char* name, std::vector<std::string>* values, const char* type, const char* help) {
    return app.add_option(name, *values, help)->type_name(type)->take_all()->expected(1)->allow_extra_args(false);
  };
  each("--mode", &options->modes, "NAME|NUMBER", "Transfer mode, see 'pf modes'; without it over");
  each("--opacity", &options->opacities, "O", "0 to 1; without it 1");
  each("--mask", &options->masks, "MASK", "Coverage of the layer: a mask, placed as the layer is");
  each(options->place_option, &options->places, "X,Y",
       "Where the layer's top left pixel lies in the base; without it 0,0");
  AddChannelOption(app, &options->mask_channel);
  AddLightOptions(app, &options->light);
  AddDepthOption(app, &options->depth, "Bits per channel to work with and to write; without it the deepest picture's");
  AddReadOptions(app, &options->read);
}

std::vector<LayerPlan> PlanLayers(const BlendOptions& options) {
  const std::size_t layers = options.layers.size();
  CheckCount("--mode", options.modes, layers);
  CheckCount("--opacity", options.opacities, layers);
  CheckCount("--mask", options.masks, layers);
  CheckCount(options.place_option, options.places, layers);
  std::vector<LayerPlan> plan(layers);
  for (std::size_t i = 0; i < layers; ++i) {
    plan[i].mode = options.modes.empty() ? &ModeOf(2) : &ParseMode(ValueFor(options.modes, i));
    if (!options.opacities.empty()) {
      plan[i].opacity = static_cast<float>(ParseNumber("--opacity", ValueFor(options.opacities, i), 0, 1));
    }
    if (!options.places.empty()) plan[i].at = ParsePoint(options.place_option, ValueFor(options.places, i));
    if (!options.masks.empty()) plan[i].mask = ValueFor(options.masks, i);
  }
  return plan;
}

std::vector<std::string> InputNames(const BlendOptions& options, const std::vector<LayerPlan>& plan) {
  std::vector<std::string> names = {options.base};
  names.insert(names.end(), options.layers.begin(), options.layers.end());
  for (const LayerPlan& layer : plan) {
    if (!layer.mask.empty()) names.push_back(layer.mask);
  }
  return names;
}

LoadedPicture LoadPicture(const InputName& input, const ReadOptions& options, Reporter* reporter) {
  PictureReader reader(input.path, input.name, options);
  LoadedPicture loaded = {reader.facts(), nullptr, Alpha::kStraight};
  const std::string where = QuotedInput(input.name);
  NoteAssumptions(loaded.facts, reporter);
  RequireMemory(2 * WorldBytes(loaded.facts.width, loaded.facts.height, loaded.facts.depth), where);
  loaded.world = NewWorld(loaded.facts.width, loaded.facts.height, loaded.facts.depth, where);
  reader.ReadInto(loaded.world.get(), reporter);
  if (loaded.facts.alpha == Alpha::kPremultiplied) loaded.alpha = Alpha::kPremultiplied;
  return loaded;
}

void Bring(LoadedPicture* picture, int depth, Alpha alpha, Reporter* reporter) {
  const std::string where = QuotedInput(picture->facts.name);
  picture->world = Converted(std::move(picture->world), depth, false, where, reporter);
  if (picture->alpha == alpha) return;
  const bool opaque = !picture->facts.has_alpha();
  if (!opaque) {
    Guarded("cannot blend", where,
            [&] { alpha == Alpha::kStraight ? picture->world->Unmultiply() : picture->world->Premultiply(); });
  }
  picture->alpha = alpha;
}

int WorkingDepth(const std::vector<LoadedPicture>& pictures, int asked) {
  if (asked != 0) return asked;
  int depth = 8;
  for (const LoadedPicture& picture : pictures) {
    depth = std::max(depth, picture.facts.depth);
    // Dividing by alpha and multiplying again would cost 8-bit colours a step.
    if (picture.facts.alpha == Alpha::kPremultiplied && picture.facts.has_alpha()) depth = std::max(depth, 16);
  }
  return depth;
}

void BringFor(const LayerPlan& plan, LoadedPicture* base, LoadedPicture* layer, Reporter* reporter) {
  const std::int32_t mode = plan.mode->number;
  const int depth = base->world->Depth();
  Bring(base, depth, TakesPremultiplied(mode) ? Alpha::kPremultiplied : Alpha::kStraight, reporter);
  if (TakesPremultipliedSource(mode)) Bring(layer, depth, Alpha::kPremultiplied, reporter);
}

bool DividesLayer(const LayerPlan& plan, const LoadedPicture& layer) {
  return layer.alpha == Alpha::kPremultiplied && !TakesPremultipliedSource(plan.mode->number);
}

void LayOnto(LoadedPicture* base, LoadedPicture* layer, const LayerPlan& plan, const PF_UnoBuffer* mask,
             const PF_LinearBlendingTables* tables, Reporter* reporter) {
  const std::int32_t mode = plan.mode->number;
  BringFor(plan, base, layer, reporter);
  const PF_TransferParams params = {
      mode, DividesLayer(plan, *layer) ? 1 : 0, plan.opacity, tables, mask, {plan.at.x, plan.at.y}};
  const M_LPoint at = {plan.at.x, plan.at.y};
  const PF_LayerDef from = RecordOf(*layer->world);
  PF_LayerDef to = RecordOf(*base->world);
  Check(PF_TransferRect(reporter->Info(base->world->height), &params, &from, nullptr, &to, &at), "cannot blend",
        QuotedInput(layer->facts.name));
  // Laid pixels may be see-through where the base was not, and coloured where it was grey.
  const bool alpha = base->facts.has_alpha() || MayUncover(mode);
  const bool grey = base->facts.channels < 3 && layer->facts.channels < 3;
  base->facts.channels = (grey ? 1 : 3) + (alpha ? 1 : 0);
  if (alpha && base->facts.alpha == Alpha::kNone) base->facts.alpha = Alpha::kStraight;
}

}  // namespace pftool
