// What enlarging and reducing in high quality have in common.
#pragma once

#include <string>
#include <vector>

#include "Suite.h"

namespace pfbench {

// Straight pixels of three depths with random alpha and with full alpha, and premultiplied 8-bit ones.
// `size` is the larger of both.
void AddHighQualityCases(const std::string& operation, Size size, Size src, Size dst, std::vector<Case>& cases);

}  // namespace pfbench
