// Whether the host wants the work stopped.
#pragma once

#include <cstdint>

#include "PF/PF_FrameBlending.h"
#include "report/Report.h"

namespace pf {

class Interrupt {
 public:
  explicit Interrupt(const PF_Tavros_InterruptFuncs* functions) {
    if (functions != nullptr) functions_ = *functions;
  }

  bool Asked() const { return functions_.stop != nullptr && functions_.stop(functions_.data) != 0; }
  void ThrowIfAsked() const {
    if (Asked()) ThrowCode(PF_Err_CANCELLED);
  }
  // For loops that take a progress record; valid as long as this object.
  PF_ProgressInfo Progress() const {
    PF_ProgressInfo info = {};
    info.reference = reinterpret_cast<std::uintptr_t>(this);
    info.abort = [](std::uint64_t reference) -> PF_Err {
      const auto* self = reinterpret_cast<const Interrupt*>(static_cast<std::uintptr_t>(reference));
      return self->Asked() ? PF_Err_CANCELLED : PF_Err_NONE;
    };
    return info;
  }

 private:
  PF_Tavros_InterruptFuncs functions_ = {};
};

}  // namespace pf
