// The threads behind the executor: the seam to the library of threads.
#pragma once

#include <cstdint>

namespace pfhost {

struct Crew;

class Workers {
 public:
  // `count` more threads than the caller's. Throws when they cannot be had; nothing has been started then.
  void Start(std::int32_t count);
  // Called when no work is left; without a start before it nothing happens.
  void Stop() noexcept;
  // One of the threads will do `work`. Throws when there is no memory for that.
  void Enqueue(void (*work)());

 private:
  // Not owned: a program may end without having stopped its host, while threads still look at this.
  Crew* crew_ = nullptr;
};

}  // namespace pfhost
