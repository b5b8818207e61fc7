// One replaceable function: what stands there now, and the library's own behind it.
#pragma once

#include <atomic>

#include "PF/PF_Types.h"

namespace pf {

template <auto Default>
struct Slot {
  using Function = decltype(Default);

  static void Set(PF_AnyFunc function) {
    current.store(function == nullptr ? Default : reinterpret_cast<Function>(function), std::memory_order_relaxed);
  }
  static PF_AnyFunc Get() { return reinterpret_cast<PF_AnyFunc>(current.load(std::memory_order_relaxed)); }

  static constinit inline std::atomic<Function> current{Default};
};

// Calls what is installed for the library's own function `Default`.
template <auto Default, class... Args>
auto Installed(Args... args) {
  return Slot<Default>::current.load(std::memory_order_relaxed)(args...);
}

}  // namespace pf
