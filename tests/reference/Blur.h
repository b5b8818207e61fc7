// Blurs of pixels along one direction: every weight times every sample, in double precision, nothing rounded.
#pragma once

#include <cstdint>
#include <string>

#include "selftest/BlurWish.h"
#include "support/Worlds.h"

namespace pftest {

// What is asked of a blur.
struct BlurWish : selftest::BlurWish {
  std::int64_t Reach() const;
};
std::string TextOf(const BlurWish& wish);

using selftest::CallBlur;

// The largest difference of a result from the reference, and where it is.
//
// Integer depths: in steps, for a result that is rounded to nearest within 0.5. Float: as a multiple of the largest
// magnitude of the channel among the samples in reach; what is only rounded to float is within 2^-24. When
// straight, a difference of colour counts as far as it is seen: times alpha over full alpha, or, in float, over the
// largest alpha in reach; in integer depths it counts in full where alpha is at least 4 steps. A channel that is to be
// copied is infinitely far off unless it is the same.
struct BlurError {
  double worst = 0;
  std::int64_t line = 0, place = 0;
  int channel = 0;
  double got = 0, want = 0;
};
std::string TextOf(const BlurError& error);

// Of every `stride`-th place of every line.
BlurError WorstBlurError(const TestWorld& src, const TestWorld& dst, const BlurWish& wish, std::int64_t stride = 1);

// What an error may be: a step, or 10^-6.
inline double BlurBound(std::int32_t depth) { return depth == 32 ? 1e-6 : 1.0; }

}  // namespace pftest
