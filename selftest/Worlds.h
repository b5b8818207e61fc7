// The smallest pictures that can show a fault: with row gaps, and bytes around that tell when they are written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "PF/PF_Types.h"
#include "selftest/Random.h"
#include "selftest/Surroundings.h"

namespace selftest {

// A plain record over pixels of its own, `gap` bytes between rows, in a block of the surroundings. The gaps and
// everything else start as 0xA5; GapsUntouched tells whether the gaps and what lies around the block still are.
class TestWorld {
 public:
  TestWorld(std::int32_t depth, std::int32_t width, std::int32_t height, std::int32_t gap = 0,
            Block::Where where = Block::kEnd);

  PF_LayerDef* record() { return &record_; }
  const PF_LayerDef* record() const { return &record_; }
  std::int32_t depth() const { return depth_; }
  std::int32_t width() const { return record_.width; }
  std::int32_t height() const { return record_.height; }
  std::byte* Row(std::int32_t y) const { return block_->data() + std::int64_t{y} * record_.row_bytes; }
  template <class P>
  P& At(std::int32_t x, std::int32_t y) const {
    return reinterpret_cast<P*>(Row(y))[x];
  }
  std::size_t PixelSize() const { return static_cast<std::size_t>(depth_ / 2); }

  // How a picture is made up.
  enum Kind {
    kRandom,  // any legal value, alpha too
    kOpaque,  // alpha full
    kEdges,   // mostly 0, 1, half, full - 1, full; many pixels alike
    kSparse,  // large transparent and opaque areas with soft borders
    kRawBits  // any bits: 16-bit values above 32768, infinities, NaN
  };
  void Fill(Random& random, Kind kind);
  bool GapsUntouched() const;
  // Pixels only; sizes and depths must be equal. Compares bits.
  bool SamePixels(const TestWorld& other) const;
  // Where and how two worlds differ first, for failure messages; empty when they do not.
  std::string FirstDifference(const TestWorld& other) const;
  std::string PixelText(std::int32_t x, std::int32_t y) const;
  // All pixels, rows joined without gaps.
  std::vector<std::byte> Pixels() const;

 private:
  std::int32_t depth_;
  std::int32_t gap_;
  std::unique_ptr<Block> block_;
  PF_LayerDef record_;
};

}  // namespace selftest
