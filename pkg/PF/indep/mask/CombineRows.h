// Two masks, or parts of them, into a third: what accumulation and transfer have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>

#include "mask/LockedMask.h"
#include "mask/MaskArea.h"
#include "report/HostMemory.h"

namespace pf {

// 0; 516 for depths that no value has; 5, reported, for a mode that does not exist.
PF_Err CheckCombination(std::int32_t mode, std::initializer_list<const PF_UnoBuffer*> masks);

// One side of a combination: a rectangle of a mask, on the way converted to the destination's depth and then
// scaled. Where writing the destination would overwrite what is yet to be read, a copy is made. Throws 4 when
// memory for it is short.
class CombineOperand {
 public:
  CombineOperand(const LockedMask& mask, std::int64_t x, std::int64_t y, float weight, const LockedMask& dst,
                 const MaskArea& area);

  // True when values go into the kernel as they are.
  bool Ready() const { return !converts_ && !scales_; }
  const std::byte* At(std::int64_t x, std::int64_t y) const { return first_ + y * stride_ + x * value_size_; }
  // n values as they go into the kernel; `buffer` has room for them.
  const std::byte* Prepare(std::int64_t x, std::int64_t y, std::int64_t n, std::byte* buffer) const;

 private:
  void CopyAway(const MaskArea& area);

  const std::byte* first_;
  std::int64_t stride_;
  std::int64_t value_size_;
  std::int32_t from_, depth_;  // of the mask, of the destination
  float weight_;
  bool converts_, scales_;
  std::optional<HostBlock> copy_;
};

// Writes the area of the destination, row by row, and clears what is outside it in the modes that do.
PF_Err CombineRows(const PF_ProgressInfo* progress, std::int32_t mode, const CombineOperand& s, const CombineOperand& d,
                   const LockedMask& dst, const MaskArea& area);

}  // namespace pf
