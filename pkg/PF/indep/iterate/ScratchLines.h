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

// Lines of one size in memory of the caller's, as many as the executor has threads, so one is free as a rule; should a
// host bring more threads, whoever comes when all are taken tries until one is given back.
class LinePool {
 public:
  static std::int32_t Count() { return std::clamp(U_GetNumThreads(), 1, 32); }

  // \param lines count * line_size bytes. \param count of Count(), which may change from call to call.
  LinePool(std::byte* lines, std::uint64_t line_size, std::int32_t count)
      : lines_(lines), line_size_(line_size), count_(count) {}

  class Line {
   public:
    explicit Line(LinePool& pool) : pool_(pool), number_(pool.Take()) {}
    ~Line() { pool_.GiveBack(number_); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    std::byte* data() const { return pool_.lines_ + pool_.line_size_ * static_cast<unsigned>(number_); }

   private:
    LinePool& pool_;
    int number_;
  };

 private:
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

  std::byte* lines_;
  std::uint64_t line_size_;
  std::int32_t count_;
  std::atomic<std::uint32_t> taken_{0};
};

// Lines with memory of their own, which start as zeros.
class ScratchLines {
 public:
  ScratchLines(std::uint64_t line_size, Message what) : ScratchLines(Padded(line_size), LinePool::Count(), what) {}

  class Line : public LinePool::Line {
   public:
    explicit Line(ScratchLines& lines) : LinePool::Line(lines.pool_) {}
  };

 private:
  ScratchLines(std::uint64_t line_size, std::int32_t count, Message what)
      : block_(line_size * static_cast<unsigned>(count), what), pool_(block_.data(), line_size, count) {
    std::memset(block_.data(), 0, line_size * static_cast<unsigned>(count));
  }
  static std::uint64_t Padded(std::uint64_t line_size) { return (line_size + 63) / 64 * 64; }

  HandleBlock block_;
  LinePool pool_;
};

}  // namespace pf
