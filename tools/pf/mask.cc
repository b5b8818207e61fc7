#include "mask.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <map>

#include "choices.h"
#include "engine.h"

namespace pftool {
namespace {

// Runs f with a value of the type of a depth.
template <class F>
void WithValue(int depth, F f) {
  if (depth == 8) return f(std::uint8_t{});
  if (depth == 16) return f(std::uint16_t{});
  f(float{});
}

template <class T>
T* ChannelIn(const PF_World& world, int channel) {
  return static_cast<T*>(world.data) + channel;
}

template <class T>
T* ValuesOf(const PF_UnoBuffer& mask) {
  return static_cast<T*>(*mask.data);
}

std::int32_t RowBytes(const PF_UnoBuffer& mask) { return mask.width * (mask.depth / 8); }

MaskPtr FromWorld(const PF_World& world, Channel channel, const std::string& where) {
  MaskPtr mask = NewMask(world.width, world.height, world.Depth(), where);
  WithValue(mask->depth, [&]<class T>(T) {
    PF_Deinterleave1<T>(static_cast<const T*>(world.data), world.row_bytes, RowBytes(*mask), static_cast<int>(channel),
                        {world.width, world.height}, {0, 0}, {0, 0}, ValuesOf<T>(*mask));
  });
  return mask;
}

Channel ChannelFor(const PictureFacts& facts, Channel wanted) {
  if (wanted != Channel::kAuto) return wanted;
  if (facts.has_alpha()) return Channel::kAlpha;
  if (facts.channels == 1) return Channel::kRed;
  throw Failure(ExitCode::kBadData, "cannot take a mask from", QuotedInput(facts.name), "it has colours and no alpha",
                "say which channel is meant, like --channel red");
}

}  // namespace

void AddChannelOption(CLI::App& app, Channel* channel) {
  static const std::map<std::string, Channel> kNames = {
      {"alpha", Channel::kAlpha}, {"red", Channel::kRed}, {"green", Channel::kGreen}, {"blue", Channel::kBlue}};
  app.add_option_function<std::string>(
         "--channel", [channel](const std::string& name) { *channel = kNames.at(name); },
         "What of the mask's picture is coverage; without it alpha where there is one, else the only channel")
      ->check(OneOf({"alpha", "red", "green", "blue"}))
      ->type_name("alpha|red|green|blue");
}

MaskPtr NewMask(int width, int height, int depth, const std::string& where) {
  MaskPtr mask;
  Guarded("cannot hold", where, [&] { mask = std::make_unique<PF_UnoBuffer>(width, height, depth); });
  return mask;
}

MaskRead ReadMask(const InputName& input, const MaskReadOptions& options, Reporter* reporter) {
  PictureReader reader(input.path, input.name, {});
  MaskRead read = {nullptr, reader.facts()};
  const PictureFacts& facts = read.facts;
  const std::string where = QuotedInput(facts.name);
  const Channel channel = ChannelFor(facts, options.channel);
  RequireMemory(2 * WorldBytes(facts.width, facts.height, facts.depth), where);
  WorldPtr world = NewWorld(facts.width, facts.height, facts.depth, where);
  reader.ReadInto(world.get(), reporter);
  if (facts.depth > options.deepest) {
    reporter->Note(fmt::format("{}: float coverage is used at 16 bits here", where));
    world = Converted(std::move(world), options.deepest, false, where, reporter);
  }
  read.mask = FromWorld(*world, channel, where);
  return read;
}

WrittenFacts WriteMask(const PF_UnoBuffer& mask, const PictureFacts& like, const WriteRequest& request,
                       Reporter* reporter) {
  WorldPtr world = NewWorld(mask.width, mask.height, mask.depth, QuotedOutput(request.path));
  WithValue(mask.depth, [&]<class T>(T) {
    for (int channel = 1; channel < 4; ++channel) {
      PF_Interleave1to4<T>(ValuesOf<T>(mask), RowBytes(mask), world->row_bytes, {mask.width, mask.height}, {0, 0},
                           {0, 0}, ChannelIn<T>(*world, channel));
    }
  });
  world->FillAlpha();
  // Coverage is data of its own: nothing that described the picture's colours holds for it.
  PictureFacts facts = like;
  facts.spec.extra_attribs.clear();
  facts.spec.channelnames = {"Y"};
  facts.channels = facts.file_channels = 1;
  facts.alpha = Alpha::kNone;
  facts.is_half = like.is_half && mask.depth == 32;
  return WritePicture(std::move(world), Alpha::kNone, facts, request, reporter);
}

}  // namespace pftool
