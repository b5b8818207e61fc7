// Masks: blurs along one direction, which must not cost more along columns nor, for boxes, with the radius, and
// accumulation. The masks are the alphas of the pictures.
#include <memory>

#include "Host.h"
#include "MaskValues.h"
#include "PF/PF_Masks.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

// The masks of the running case.
struct Masks {
  PF_UnoBuffer src, dst;

  static Masks& Of(const Picture& picture) {
    static std::unique_ptr<Masks> masks;
    const auto fits = [&](const PF_UnoBuffer& mask) {
      return mask.width == picture.width() && mask.height == picture.height() && mask.depth == picture.depth();
    };
    if (masks == nullptr || !fits(masks->src))
      masks.reset(new Masks{{picture.width(), picture.height(), picture.depth()},
                            {picture.width(), picture.height(), picture.depth()}});
    return *masks;
  }
};

void Load(Picture& src, Picture&) {
  Masks& masks = Masks::Of(src);
  for (const PF_UnoBuffer* mask : {&masks.src, &masks.dst}) {
    ForValues(*mask, src, [](auto& value, auto& alpha) { value = alpha; });
  }
}

void Store(Picture& src, Picture& dst) {
  dst.FillBytes(0);
  ForValues(Masks::Of(src).dst, dst, [](auto& value, auto& alpha) { alpha = value; });
}

template <int radius, int direction>
PF_Err Box(Picture& src, Picture&) {
  Masks& masks = Masks::Of(src);
  const auto scan = src.depth() == 8 ? &PF_BoxBlurUnoScan : &PF_BoxBlurDeepUnoScan;
  return scan(&masks.src, &masks.dst, radius, direction, nullptr);
}

template <int radius, int direction>
PF_Err Bell(Picture& src, Picture&) {
  Masks& masks = Masks::Of(src);
  const auto scan = src.depth() == 8 ? &PF_GBlurUnoScan : &PF_GBlurDeepUnoScan;
  return scan(&masks.src, &masks.dst, radius, direction, nullptr);
}

PF_Err Accumulate(Picture& src, Picture&) {
  Masks& masks = Masks::Of(src);
  const M_LRect rect = {0, 0, src.width(), src.height()};
  const M_LPoint at = {0, 0};
  return PF_AccumulateUnoBuffers(nullptr, &masks.src, PF_MaskMode_ADD, &rect, &at, &masks.dst);
}

template <Function function>
PF_Err Own(Picture& src, Picture& dst) {
  const OnCallingThread own;
  return function(src, dst);
}

template <Function function>
Case CaseOf(std::string operation, Size size, Work work, std::int32_t depth, int masks_moved) {
  const std::size_t mask = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
                           static_cast<std::size_t>(depth) / 8;
  return {std::move(operation),
          DepthName(depth),
          size,
          work,
          false,
          depth,
          depth,
          size,
          size,
          &Own<function>,
          function,
          true,
          &AddPeers,
          1,
          &Load,
          &Store,
          static_cast<std::size_t>(masks_moved) * mask};
}

template <Function function>
void AddScan(const char* shape, Work work, int radius, bool columns, Size size, std::vector<Case>& cases) {
  for (const std::int32_t depth : {8, 16}) {
    const std::string name = std::string(shape) + " scan of mask, radius " + std::to_string(radius);
    cases.push_back(CaseOf<function>(name + (columns ? ", columns" : ", rows"), size, work, depth, 2));
    cases.back().scan = {radius, columns};
  }
}

}  // namespace

void AddMaskScanCases(Size size, std::vector<Case>& cases) {
  AddScan<&Box<2, 0>>("box", Work::kMaskBox, 2, false, size, cases);
  AddScan<&Box<50, 0>>("box", Work::kMaskBox, 50, false, size, cases);
  AddScan<&Box<2, 1>>("box", Work::kMaskBox, 2, true, size, cases);
  AddScan<&Box<50, 1>>("box", Work::kMaskBox, 50, true, size, cases);
  AddScan<&Bell<5, 0>>("bell", Work::kMaskBell, 5, false, size, cases);
  AddScan<&Bell<50, 0>>("bell", Work::kMaskBell, 50, false, size, cases);
  AddScan<&Bell<5, 1>>("bell", Work::kMaskBell, 5, true, size, cases);
  AddScan<&Bell<50, 1>>("bell", Work::kMaskBell, 50, true, size, cases);
  for (const std::int32_t depth : {8, 16, 32}) {
    cases.push_back(CaseOf<&Accumulate>("accumulate mask, add", size, Work::kMaskAdd, depth, 3));
  }
}

}  // namespace pfbench
