#include <array>

#include "selftest/Depth.h"
#include "selftest/OperationTable.h"

namespace selftest {
namespace {

template <class P>
PF_Err Scramble(void*, std::int32_t x, std::int32_t y, P* in, P* out) {
  using C = ChannelOf<P>;
  *out = {in->blue, static_cast<C>(x), in->red, static_cast<C>(y)};
  return PF_Err_NONE;
}

using Lut = std::array<std::uint8_t, 256>;
Lut AnyLut(Random& random) {
  Lut lut;
  for (std::uint8_t& v : lut) v = static_cast<std::uint8_t>(random());
  return lut;
}

template <class P>
void AddPixelIterations(OperationTable& table) {
  constexpr std::int32_t kDepth = DepthTraits<P>::kDepth;
  const auto add = [&](const char* name, auto iterate) {
    table.push_back({At(name, kDepth), kDepth, false, [=](Trial& run) {
                       Picture in(run, kDepth), out(run, kDepth);
                       M_LRect rect;
                       const M_LRect* area = MaybeRect(run, out.width(), out.height(), &rect);
                       const PF_Err code = iterate(run, in.record(), area, out.record());
                       run.results.Add(out);
                       return code;
                     }});
  };
  for (const bool own : {false, true}) {
    const auto iterate = own ? &PF_Iterate_Static : &PF_Iterate;
    add(own ? "iterate static" : "iterate", [=](Trial& run, PF_LayerDef* in, const M_LRect* area, PF_LayerDef* out) {
      PF_LayerDef* const src = run.known() || run.random() % 4 != 0 ? in : nullptr;
      return iterate(run.in, 0, 140, src, area, nullptr, PF_PixelFunc(&Scramble<P>), out);
    });
    const auto origin = own ? &PF_IterateOrigin_Static : &PF_IterateOrigin;
    add(own ? "iterate origin static" : "iterate origin",
        [=](Trial& run, PF_LayerDef* in, const M_LRect* area, PF_LayerDef* out) {
          const M_LPoint at = {Between32(run.random, -9, 9), Between32(run.random, -9, 9)};
          return origin(run.in, 0, 140, in, area, &at, nullptr, PF_PixelFunc(&Scramble<P>), out);
        });
    const auto tables = own ? &PF_IterateLUT_Static : &PF_IterateLUT;
    add(own ? "iterate tables static" : "iterate tables",
        [=](Trial& run, PF_LayerDef* in, const M_LRect* area, PF_LayerDef* out) {
          const Lut alpha = AnyLut(run.random), colour = AnyLut(run.random);
          const bool has_red = !run.known() && run.random() % 2 == 0;
          return tables(run.in, 0, 140, in, area, alpha.data(), has_red ? colour.data() : nullptr, alpha.data(),
                        colour.data(), out);
        });
  }
}

struct Squares {
  std::array<std::int32_t, 300> of;
};

void AddCounts(OperationTable& table) {
  for (const bool own : {false, true}) {
    table.push_back({own ? "iterate generic static" : "iterate generic", 0, false, [=](Trial& run) {
                       Squares squares = {};
                       const auto iterate = own ? &PF_IterateGeneric_Static : &PF_IterateGeneric;
                       const std::int32_t count = run.known() ? 100 : Between32(run.random, -2, 300);
                       const PF_Err code =
                           iterate(count, &squares, [](void* all, std::int32_t, std::int32_t i, std::int32_t n) {
                             static_cast<Squares*>(all)->of[static_cast<std::size_t>(i)] = i * i + n;
                             return PF_Err{PF_Err_NONE};
                           });
                       run.results.AddBytes(squares.of.data(), sizeof squares.of);
                       return code;
                     }});
  }
}

}  // namespace

void AddIterations(OperationTable& table) {
  AddPixelIterations<PF_Pixel8>(table);
  AddPixelIterations<PF_Pixel16>(table);
  AddPixelIterations<PF_PixelFloat>(table);
  AddCounts(table);
}

}  // namespace selftest
