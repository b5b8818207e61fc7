// Kernels of every vector target that the machine has.
#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

namespace pftest {

// Calls f() once for each target, while factories of kernels choose it.
template <class F>
void ForEachTarget(F f) {
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    SCOPED_TRACE(hwy::TargetName(target));
    f();
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace pftest
