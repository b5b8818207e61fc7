// Owners of host memory and of a quiet scope.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "host/U.h"
#include "report/Report.h"

namespace pf {

// A scratch block of host memory, aligned to 64 bytes, uninitialised. Throws 4 when memory is short; the
// host reports it under the given text.
class HostBlock {
 public:
  HostBlock(std::uint64_t size, Message what) : block_(U_AllocatePtr(size + kAlignment, LookUp(what))) {
    if (block_ == nullptr) ThrowOutOfMemory();
  }
  ~HostBlock() { U_FreePtr(block_); }
  HostBlock(const HostBlock&) = delete;
  HostBlock& operator=(const HostBlock&) = delete;

  std::byte* data() const {
    const auto address = reinterpret_cast<std::uintptr_t>(block_);
    return reinterpret_cast<std::byte*>((address + kAlignment - 1) / kAlignment * kAlignment);
  }

 private:
  static constexpr std::uint64_t kAlignment = 64;
  void* block_;
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
