// Blurs of pictures in both directions: rows into a second picture, columns of that in place. The cost must not grow
// with the radius.
#include <memory>

#include "Host.h"
#include "PF/PF_Filters.h"
#include "PF/PF_Worlds.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

template <auto kBlur, int kRadius, int kStraight>
PF_Err Both(Picture& src, Picture& dst) {
  const std::unique_ptr<PF_World> from(PF_World::NewReference(src.record())), to(PF_World::NewReference(dst.record()));
  if (from == nullptr || to == nullptr) return PF_Err_OUT_OF_MEMORY;
  const PF_Err code = kBlur(from.get(), to.get(), kRadius, 0, 0, 0, kStraight, nullptr);
  return code != PF_Err_NONE ? code : kBlur(to.get(), to.get(), kRadius, 0, 1, 1, kStraight, nullptr);
}

template <Function function>
PF_Err Own(Picture& src, Picture& dst) {
  const OnCallingThread own;
  return function(src, dst);
}

template <auto kBlur, int kRadius, int kStraight = 0>
void AddBlur(const char* shape, Work work, Size size, std::vector<Case>& cases) {
  constexpr Function kBoth = &Both<kBlur, kRadius, kStraight>;
  for (const std::int32_t depth : {8, 16, 32}) {
    Case blur = {std::string("blur ") + shape + " " + std::to_string(kRadius) + (kStraight != 0 ? ", straight" : ""),
                 DepthName(depth),
                 size,
                 work,
                 false,
                 depth,
                 depth,
                 size,
                 size,
                 &Own<kBoth>,
                 kBoth,
                 true,
                 &AddPeers};
    // Both directions read and write the whole picture.
    blur.moved_bytes = 4 * static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
                       static_cast<std::size_t>(depth / 2);
    blur.scan = {kRadius, false};
    cases.push_back(std::move(blur));
  }
}

}  // namespace

void AddBlurCases(Size size, std::vector<Case>& cases) {
  constexpr auto kBell = &PF_GaussianBlur1D;
  constexpr auto kBox = &PF_BoxBlur1D;
  AddBlur<kBell, 3>("gaussian", Work::kBlurBell, size, cases);
  AddBlur<kBell, 10>("gaussian", Work::kBlurBell, size, cases);
  AddBlur<kBell, 50>("gaussian", Work::kBlurBell, size, cases);
  AddBlur<kBell, 200>("gaussian", Work::kBlurBell, size, cases);
  AddBlur<kBell, 500>("gaussian", Work::kBlurBell, size, cases);
  AddBlur<kBell, 50, 1>("gaussian", Work::kBlurStraight, size, cases);
  AddBlur<kBox, 3>("box", Work::kBlurBox, size, cases);
  AddBlur<kBox, 10>("box", Work::kBlurBox, size, cases);
  AddBlur<kBox, 50>("box", Work::kBlurBox, size, cases);
  AddBlur<kBox, 200>("box", Work::kBlurBox, size, cases);
}

}  // namespace pfbench
