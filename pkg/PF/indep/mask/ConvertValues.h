// Conversion of bare values between depths: what colour channels of worlds go through.
#pragma once

#include <cstdint>

namespace pf {

// Converts n values; `from` and `to` are DepthIndex. The two runs do not overlap.
void ConvertValues(int from, int to, const void* in, void* out, std::int64_t n);
// The same, where 16-bit values above full count as full before they become another depth.
void ConvertLimited(int from, int to, const void* in, void* out, std::int64_t n);

}  // namespace pf
