// No library: the formulas in plain loops over single precision, as one would write them first.
#include <algorithm>
#include <cmath>
#include <memory>

#include "Bands.h"
#include "PF/PF_TransferModes.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

float Over(float s, float d, float as, float ad, float ar) { return (d * ad + (s - d * ad) * as) / ar; }
float Multiply(float s, float d, float as, float ad, float ar) {
  const float b = 1 - (1 - d) * ad;
  return 1 - (1 - (b + as * (s * b - b))) / ar;
}
float Screen(float s, float d, float as, float ad, float ar) {
  const float b = d * ad;
  return (b + as * (1 - (1 - s) * (1 - b) - b)) / ar;
}
float HardLight(float s, float d, float as, float ad, float ar) {
  const float b = 0.5f + (d - 0.5f) * ad;
  const float blend = s >= 0.5f ? b + (2 * s - 1) * (1 - b) : b * 2 * s;
  return 0.5f + (b + as * (blend - b) - 0.5f) / ar;
}

template <class C>
C Stored(float v, float full) {
  if constexpr (std::is_same_v<C, float>) return v;
  return static_cast<C>(std::min(std::max(v * full + 0.5f, 0.0f), full));
}

template <class C, auto kFormula>
void LayRow(const C* s, C* d, std::int32_t n, float full) {
  const float unit = 1 / full;
  for (std::int32_t i = 0; i < 4 * n; i += 4) {
    const float as = static_cast<float>(s[i]) * unit, ad = static_cast<float>(d[i]) * unit;
    const float ar = 1 - (1 - as) * (1 - ad);
    if (ar == 0) continue;
    d[i] = Stored<C>(ar, full);
    for (int c = 1; c < 4; ++c) {
      d[i + c] = Stored<C>(
          kFormula(static_cast<float>(s[i + c]) * unit, static_cast<float>(d[i + c]) * unit, as, ad, ar), full);
    }
  }
}

template <auto kFormula>
void Add(const Task& task, std::vector<Contender>& contenders) {
  const Picture *src = &task.src, *base = task.src.second.get();
  const auto dst = std::make_shared<Picture>(task.dst.size(), task.dst.depth());
  contenders.push_back({"plain loop", "", "no library: the formula in single precision", [=] {
                          WithChannel(src->depth(), [&](auto zero) {
                            using C = decltype(zero);
                            ForBands(*base, *dst, [&](std::int32_t first, std::int32_t rows) {
                              for (std::int32_t y = first; y < first + rows; ++y) {
                                LayRow<C, kFormula>(src->row<C>(y), dst->row<C>(y), src->width(),
                                                    static_cast<float>(FullValue(src->depth())));
                              }
                            });
                          });
                        }});
}

void AddLoops(const Task& task, std::vector<Contender>& contenders) {
  if (task.work != Work::kTransfer || task.laying.linear) return;
  switch (task.laying.mode) {
    case PF_Xfer_Over:
      return Add<&Over>(task, contenders);
    case PF_Xfer_Multiply:
      return Add<&Multiply>(task, contenders);
    case PF_Xfer_Screen:
      return Add<&Screen>(task, contenders);
    case PF_Xfer_HardLight:
      return Add<&HardLight>(task, contenders);
    default:
      return;
  }
}

const PeerRegistration kRegistration({"plain loop", "", &AddLoops});

}  // namespace
}  // namespace pfbench
