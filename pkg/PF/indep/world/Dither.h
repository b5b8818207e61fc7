// The shared sequence of dither values.
#pragma once

#include <cstdint>

#include "world/ConvertKernels.h"

namespace pf {

// The run of the sequence that one conversion draws from. It is reserved whole at the start, so what
// threads and bands do has no influence on it.
class DitherRun {
 public:
  // A run of `count` values from the cursor on; the cursor moves behind them.
  static DitherRun Reserve(std::int64_t count);

  // False when there is no sequence: then nothing can be drawn.
  bool HasTable() const { return table_ != nullptr; }
  // The run behind its first `count` values.
  DitherRun Behind(std::int64_t count) const;
  // Converts `count` channels, whole pixels or not, with as many values.
  void Convert(ConvertKernels::DitherRow kernel, const std::uint16_t* in, std::uint8_t* out, std::int64_t count);

 private:
  const std::uint32_t* table_ = nullptr;
  std::int64_t length_ = 0;
  std::int64_t next_ = 0;
};

}  // namespace pf
