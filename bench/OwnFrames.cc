#include "OwnFrames.h"

#include <memory>

#include "Host.h"
#include "PF/PF_Worlds.h"
#include "embedded/PFhost.h"

namespace pfbench {
namespace {

constexpr std::uint64_t kBudget = std::uint64_t{512} << 20;

// World objects lie in the host's memory and must not outlive it, so each call makes its own.
using World = std::unique_ptr<PF_World>;
World Over(Picture& picture) { return World(PF_World::NewReference(picture.record())); }

}  // namespace

OwnFrames::OwnFrames(const Triplet& triplet)
    : previous_(triplet.previous.size, DepthOf(triplet.previous)),
      next_(triplet.next.size, DepthOf(triplet.next)),
      middle_(triplet.middle.size, DepthOf(triplet.middle)),
      blending_(PF_Tavros_OtherParams{}, PF_Tavros_InterruptFuncs{}) {
  Fill(previous_, triplet.previous);
  Fill(next_, triplet.next);
}

void OwnFrames::Make() {
  const World previous = Over(previous_), next = Over(next_), middle = Over(middle_);
  Check(blending_.Render(previous.get(), next.get(), middle.get()), "making a frame");
}

double OwnFrames::VectorError(const Triplet& triplet) {
  const World previous = Over(previous_), next = Over(next_);
  boost::shared_ptr<PF_TavrosCache_Stuff> motion;
  Check(blending_.FindVectors(previous.get(), next.get(), &motion), "finding motion");
  return EndPointError(triplet, [&](std::int32_t x, std::int32_t y) {
    const PF_MotionVector vector = motion->Vector(PF_MotionDirection_FORWARD, x / 2, y / 2);
    return Vector{vector.x, vector.y};
  });
}

void OwnFrames::ForgetMotion() {
  PFhost_SetMediaCacheBudget(0);
  PFhost_SetMediaCacheBudget(kBudget);
}

}  // namespace pfbench
