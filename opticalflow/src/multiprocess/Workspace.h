// Memory of the engine: taken piece by piece from large blocks of the host's, given back together.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pf {

struct WorkBlock;

// Blocks stay until the workspace goes; what a Scope took is handed out again after it. One thread at a time. The
// blocks of one workspace are kept for the next one, unless they are very large: the first touch of fresh memory takes
// a fifth of the time of a further frame.
class Workspace {
 public:
  Workspace();
  ~Workspace();
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  // Aligned to 64 bytes, uninitialised. Throws 4, unreported, when memory is short.
  template <class T>
  T* Take(std::int64_t count) {
    return reinterpret_cast<T*>(TakeBytes(static_cast<std::uint64_t>(count) * sizeof(T)));
  }

  // Gives kept blocks back to the host. Safe at any moment, from within the host's allocator too.
  static void ReleaseKept();

  class Scope {
   public:
    explicit Scope(Workspace& workspace) : workspace_(workspace), block_(workspace.current_), used_(workspace.used_) {}
    ~Scope() {
      workspace_.current_ = block_;
      workspace_.used_ = used_;
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    Workspace& workspace_;
    WorkBlock* block_;
    std::uint64_t used_;
  };

 private:
  WorkBlock* current_ = nullptr;  // the last one that something was taken from
  WorkBlock* first_ = nullptr;
  std::uint64_t used_ = 0;  // bytes of it

  std::byte* TakeBytes(std::uint64_t size);
};

}  // namespace pf
