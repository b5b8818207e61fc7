#include "report/TracedHash.h"

#include <cstdio>

namespace pf {
namespace {

constexpr char kCategory[] = "MixHashGuid";
constexpr std::int32_t kLevel = 6;

}  // namespace

TracedHash::TracedHash(std::string_view seed) noexcept
    : hash_(seed.data(), seed.size()), traced_(vexcore::DebugTraceEnabled(kCategory, kLevel)) {
  if (traced_) Trace("seed");
}

void TracedHash::Mix(const char* what, const void* bytes, std::size_t size) noexcept {
  hash_.Mix(bytes, size);
  if (traced_) Trace(what);
}

void TracedHash::Trace(const char* what) const noexcept {
  char digits[33] = {};
  const vexcore::Guid guid = hash_.Result();
  for (std::size_t i = 0; i < sizeof guid; ++i) std::snprintf(digits + 2 * i, 3, "%02x", guid.bytes[i]);
  char line[128];
  std::snprintf(line, sizeof line, "%s: %s -> %s", kCategory, what, digits);
  vexcore::DebugTrace(line);
}

}  // namespace pf
