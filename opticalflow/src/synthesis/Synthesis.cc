#include "synthesis/Synthesis.h"

#include <cmath>

#include "PF/PF_Blend.h"

namespace pf {

void Synthesize(const Wanted& wanted, const Interrupt&, PF_World& destination) {
  const auto ratio = static_cast<std::int32_t>(std::lrint(wanted.time * 65536));
  PF_LayerDef previous, next, out;
  wanted.frames.previous->FillOutEffectWorld(&previous);
  wanted.frames.next->FillOutEffectWorld(&next);
  destination.FillOutEffectWorld(&out);
  if (const PF_Err error = PF_Blend_Straight(nullptr, &previous, &next, ratio, &out)) ThrowCode(error);
}

}  // namespace pf
