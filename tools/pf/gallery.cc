#include "gallery.h"

#include <fmt/format.h>

#include <algorithm>

#include "PF/PF_Copy.h"
#include "engine.h"
#include "explain.h"
#include "sample_pictures.h"
#include "scale_plan.h"

namespace pftool {
namespace {

constexpr const char* kWhere = "the gallery";

// Every value of 8 bits.
int MapSize(int depth) { return depth == 8 ? 256 : 128; }

bool ShowsColours(const ModeText& mode) {
  return (mode.number >= 13 && mode.number <= 16) || mode.number == 35 || mode.number == 36;
}

template <class F>
LoadedPicture Drawn(int size, int depth, double alpha, Reporter* reporter, F colour) {
  LoadedPicture picture = {{}, NewWorld(size, size, 32, kWhere), Alpha::kStraight};
  picture.facts.name = kWhere;
  picture.facts.channels = 4;
  for (int y = 0; y < size; ++y) {
    auto* row = reinterpret_cast<PF_PixelFloat*>(static_cast<std::byte*>(picture.world->data) +
                                                 static_cast<std::ptrdiff_t>(y) * picture.world->row_bytes);
    for (int x = 0; x < size; ++x) {
      const double last = size - 1;
      row[x] = colour(x / last, 1 - y / last);
      row[x].alpha = static_cast<float>(alpha);
    }
  }
  picture.world = Converted(std::move(picture.world), depth, false, kWhere, reporter);
  return picture;
}

PF_PixelFloat Grey(double v) {
  const auto value = static_cast<float>(v);
  return {1, value, value, value};
}

WorldPtr CopyOf(const PF_World& world, int depth, Reporter* reporter) {
  WorldPtr copy = NewWorld(world.width, world.height, depth, kWhere);
  ConvertInto(world, copy.get(), 0, 0, false, kWhere, reporter);
  return copy;
}

double LargestSteps(const ModeText& mode, const PF_World& source, const PF_World& before, const PF_World& after) {
  const int depth = after.Depth();
  double largest = 0;
  for (int y = 0; y < after.height; ++y) {
    StopIfSignalled();
    for (int x = 0; x < after.width; ++x) {
      const Quad s = PixelAt(source, x, y), d = PixelAt(before, x, y);
      const FormulaCase c = {mode.number, depth, UnitOf(s, depth), UnitOf(d, depth), true};
      largest = std::max(largest, StepsInStoredLight(c, PixelAt(after, x, y)));
    }
  }
  return largest;
}

// Cut to the size's aspect and scaled, edges repeated.
WorldPtr Cut(LoadedPicture picture, int width, int height, Reporter* reporter) {
  const std::string where = QuotedInput(picture.facts.name);
  const PF_World& world = *picture.world;
  const ScaleRequest request{SizeText{width, height}, {}, {}, Aspect::kFill};
  const ScalePlan plan = PlanScale(world.width, world.height, request, where);
  const bool margin = std::max(world.width, world.height) + 2 <= PF_MAX_WORLD_SIZE;
  WorldPtr padded;
  if (margin) {
    padded = NewWorld(world.width + 2, world.height + 2, world.Depth(), where);
    ConvertInto(world, padded.get(), 1, 1, false, where, reporter);
    RepeatEdges(padded.get(), 1);
  }
  const int by = margin ? 1 : 0;
  const M_LRect part = {plan.source.left + by, plan.source.top + by, plan.source.right + by, plan.source.bottom + by};
  WorldPtr cut = NewWorld(width, height, world.Depth(), where);
  const PF_LayerDef from = RecordOf(margin ? *padded : world);
  PF_LayerDef to = RecordOf(*cut);
  const auto copy = picture.alpha == Alpha::kPremultiplied ? PF_CopyBits_HQ_Premul : PF_CopyBits_HQ_Straight;
  Check(copy(reporter->Info(height), &from, &to, &part, nullptr), "cannot scale", where);
  picture.world = std::move(cut);
  Bring(&picture, 32, Alpha::kStraight, reporter);
  return std::move(picture.world);
}

}  // namespace

ResponseMap MakeMap(const ModeText& mode, int depth, const MapAlphas& alphas, Reporter* reporter) {
  const int size = MapSize(depth);
  const bool colours = ShowsColours(mode);
  LoadedPicture layer = Drawn(size, depth, alphas.source, reporter,
                              [&](double x, double) { return colours ? HueColour(x, 1, 0.5) : Grey(x); });
  LoadedPicture base = Drawn(size, depth, alphas.destination, reporter,
                             [&](double, double y) { return colours ? HueColour(y, 0.7, 0.25 + 0.5 * y) : Grey(y); });
  LayerPlan plan;
  plan.mode = &mode;
  BringFor(plan, &base, &layer, reporter);
  const WorldPtr before = CopyOf(*base.world, depth, reporter);
  LayOnto(&base, &layer, plan, nullptr, nullptr, reporter);
  const double steps = LargestSteps(mode, *layer.world, *before, *base.world);
  Bring(&base, 8, Alpha::kStraight, reporter);
  return {std::move(base.world), steps};
}

ExamplePictures MakeExamplePictures(const std::optional<InputName>& base, const std::optional<InputName>& layer,
                                    int width, int height, const ReadOptions& options, Reporter* reporter) {
  const auto picture = [&](const std::optional<InputName>& name) {
    return Cut(LoadPicture(*name, options, reporter), width, height, reporter);
  };
  return {base ? picture(base) : SampleLandscape(width, height), layer ? picture(layer) : SampleCutOut(width, height),
          base ? base->name : "made by rule", layer ? layer->name : "made by rule"};
}

WorldPtr MakeExample(const ModeText& mode, int depth, const ExamplePictures& pictures,
                     const PF_LinearBlendingTables* tables, Reporter* reporter) {
  const auto at_depth = [&](const PF_World& world) {
    LoadedPicture picture = {{}, CopyOf(world, depth, reporter), Alpha::kStraight};
    picture.facts.name = kWhere;
    picture.facts.channels = 4;
    return picture;
  };
  LoadedPicture base = at_depth(*pictures.base), layer = at_depth(*pictures.layer);
  LayerPlan plan;
  plan.mode = &mode;
  LayOnto(&base, &layer, plan, nullptr, tables, reporter);
  Bring(&base, depth, Alpha::kStraight, reporter);
  return Converted(std::move(base.world), 8, false, kWhere, reporter);
}

WorldPtr ShownAt8Bits(const PF_World& world, Reporter* reporter) { return CopyOf(world, 8, reporter); }

}  // namespace pftool
