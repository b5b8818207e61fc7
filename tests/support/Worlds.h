// Pictures on memory between faulting pages.
#pragma once

#include <cstring>

#include "pixel/Depth.h"
#include "selftest/Worlds.h"

namespace pftest {

using selftest::Between;
using selftest::Random;
using selftest::TestWorld;

// Memory between two inaccessible pages. The block ends right at the second page (kEnd) or starts right
// behind the first (kStart). Every picture of a test lies in such memory.
class GuardedMemory final : public selftest::Block {
 public:
  explicit GuardedMemory(std::size_t size, Where where = kEnd);
  ~GuardedMemory() override;
  bool Intact() const override { return true; }

 private:
  void* pages_;
  std::size_t pages_size_;
};

}  // namespace pftest
