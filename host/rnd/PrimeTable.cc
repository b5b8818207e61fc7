// 65521 values, the largest prime below 2^16: large enough that rows of a picture do not fall into step
// with it, small enough to stay in the cache. They are the first outputs of the 32-bit Mersenne twister
// with its standard seed, which the language defines bit for bit, so every machine has the same table.
#include <exception>
#include <random>
#include <vector>

#include "host/RND.h"

namespace pfhost {
namespace {

constexpr std::int64_t kLength = 65521;

std::vector<std::uint32_t> MakeTable() {
  std::vector<std::uint32_t> table(kLength);
  std::mt19937 generator;
  for (std::uint32_t& value : table) value = static_cast<std::uint32_t>(generator());
  return table;
}

}  // namespace
}  // namespace pfhost

U_Err RND_GetPrimeSizedTable(const std::uint32_t** table, std::int64_t* length) {
  if (table == nullptr || length == nullptr) return 3;
  try {
    static const std::vector<std::uint32_t> values = pfhost::MakeTable();
    *table = values.data();
    *length = pfhost::kLength;
    return 0;
  } catch (const std::exception&) {
    return 4;
  }
}
