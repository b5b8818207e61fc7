// Every vector target that was compiled and that this machine runs.
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

// Calls f(kernels) for each target, with what `vector_kernels` chooses for it.
template <class VectorKernels, class F>
void ForEachTarget(VectorKernels vector_kernels, F f) {
  ForEachTarget([&] { f(vector_kernels()); });
}

}  // namespace pftest
