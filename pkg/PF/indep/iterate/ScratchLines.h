// Lines of scratch memory, one for each thread that works on a row.
#pragma once

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host/U.h"
#include "report/HostMemory.h"

namespace pf {

// All lines start as zeros. There are as many as the executor has threads, so one is free as a rule; should a
// host bring more, whoever comes when all are taken tries until one is given back.
class ScratchLines {
 public:
  ScratchLines(std::uint64_t line_size, Message what)
      : line_size_((line_size + 63) / 64 * 64), count_(std::clamp(U_GetNumThreads(), 1, 32)), block_(Size(), what) {
    std::memset(block_.data(), 0, Size());
  }

  class Line {
   public:
    explicit Line(ScratchLines& lines) : lines_(lines), number_(lines.Take()) {}
    ~Line() { lines_.GiveBack(number_); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    std::byte* data() const { return lines_.block_.data() + lines_.line_size_ * static_cast<unsigned>(number_); }

   private:
    ScratchLines& lines_;
    int number_;
  };

 private:
  std::uint64_t Size() const { return line_size_ * static_cast<unsigned>(count_); }

  int Take() {
    std::uint32_t taken = taken_.load(std::memory_order_relaxed);
    while (true) {
      const int number = std::countr_one(taken);
      if (number >= count_) {
        taken = taken_.load(std::memory_order_relaxed);
      } else if (taken_.compare_exchange_weak(taken, taken | 1u << number, std::memory_order_acquire,
                                              std::memory_order_relaxed)) {
        return number;
      }
    }
  }
  void GiveBack(int number) { taken_.fetch_and(~(1u << number), std::memory_order_release); }

  std::uint64_t line_size_;
  std::int32_t count_;
  HandleBlock block_;
  std::atomic<std::uint32_t> taken_{0};
};

}  // namespace pf
