// Blurs of worlds along one direction, as their callers ask for them.
#pragma once

#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Filters.h"
#include "selftest/Worlds.h"

namespace selftest {

struct BlurWish {
  bool box = false;
  float radius = 0;
  std::int32_t flags = 0;
  bool src_columns = false, dst_columns = false;
  bool straight = false;
};

// The exported routine on two records.
PF_Err CallBlur(TestWorld& src, TestWorld& dst, const BlurWish& wish, const PF_ProgressInfo* progress = nullptr);

}  // namespace selftest
