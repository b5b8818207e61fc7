#include <string_view>

#include "selftest/Runner.h"

namespace selftest {
namespace {

std::uint64_t Number(std::string_view digits) {
  std::uint64_t value = 0;
  for (const char c : digits) value = value << 4 | static_cast<std::uint64_t>(c <= '9' ? c - '0' : c - 'a' + 10);
  return value;
}
Hash128 HashOf(std::string_view text) { return {Number(text.substr(0, 16)), Number(text.substr(16))}; }

struct StoredRow {
  const char* name;
  std::int32_t depth;
  std::string_view hash, seeds;
};
struct StoredVersion {
  std::int32_t version;
  std::string_view all;
};

#define VERSION(number, all) constexpr StoredVersion kVersion = {number, all};
#define ROW(name, depth, hash, seeds)
#include "selftest/Expected.inc"
#undef VERSION
#undef ROW
#define VERSION(number, all)
#define ROW(name, depth, hash, seeds) {name, depth, hash, seeds},
constexpr StoredRow kRows[] = {
#include "selftest/Expected.inc"
    {nullptr, 0, "", ""}};
#undef VERSION
#undef ROW

}  // namespace

const Expected& ExpectedResults() {
  static const Expected expected = [] {
    Expected read = {kVersion.version, {{}, HashOf(kVersion.all)}};
    for (const StoredRow* stored = kRows; stored->name != nullptr; ++stored) {
      Row row = {stored->name, stored->depth, HashOf(stored->hash), {}};
      for (std::size_t i = 0; i < stored->seeds.size(); i += 8) {
        row.seeds.push_back(static_cast<std::uint32_t>(Number(stored->seeds.substr(i, 8))));
      }
      read.results.rows.push_back(row);
    }
    return read;
  }();
  return expected;
}

}  // namespace selftest
