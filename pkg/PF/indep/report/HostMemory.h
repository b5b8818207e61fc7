// Owners of host memory and of a quiet scope.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "host/U.h"
#include "report/Report.h"

namespace pf {

// A scratch block of host memory, aligned to 64 bytes, uninitialised. Throws 4 when memory is short; the
// host reports it under the given text. One block is kept for whoever needs one next, so that a series of
// small copies allocates once; who comes second at the same time gets a block of its own.
class HostBlock {
 public:
  HostBlock(std::uint64_t size, Message what);
  ~HostBlock();
  HostBlock(const HostBlock&) = delete;
  HostBlock& operator=(const HostBlock&) = delete;

  std::byte* data() const;

  // Gives the kept block back to the host; the next one starts small again. Blocks in use stay. Safe at
  // any moment, from within the host's allocator too.
  static void ReleaseKept();

 private:
  void* block_;
};

// Memory of a host handle, locked for as long as it is held; aligned to 64 bytes, uninitialised. Throws 4 when memory
// is short; the host reports it under the given text.
class HandleBlock {
 public:
  HandleBlock(std::uint64_t size, Message what);
  ~HandleBlock();
  HandleBlock(const HandleBlock&) = delete;
  HandleBlock& operator=(const HandleBlock&) = delete;

  std::byte* data() const { return data_; }

 private:
  U_Handle handle_;
  std::byte* data_;
};

// Failures of host calls inside the scope are kept from the user. End() yields the first non-zero of the
// call's result and the end's.
class QuietErrors {
 public:
  QuietErrors() { U_StartQuietErrorsOnCurrentThread(); }
  ~QuietErrors() {
    if (!ended_) U_EndQuietErrorsOnCurrentThread();
  }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

  PF_Err End(PF_Err result) {
    ended_ = true;
    const PF_Err end = U_EndQuietErrorsOnCurrentThread();
    return result != PF_Err_NONE ? result : end;
  }

 private:
  bool ended_ = false;
};

}  // namespace pf
