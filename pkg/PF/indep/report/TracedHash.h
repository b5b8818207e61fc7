// A running hash whose steps are told to the host's debug trace, when it wants them.
#pragma once

#include <cstddef>
#include <string_view>

#include "host/vexcore.h"

namespace pf {

class TracedHash {
 public:
  // Seeded with the characters of `seed`.
  explicit TracedHash(std::string_view seed) noexcept;
  // Mixes `size` bytes; `what` names them in the trace.
  void Mix(const char* what, const void* bytes, std::size_t size) noexcept;
  template <class T>
  void MixValue(const char* what, const T& value) noexcept {
    Mix(what, &value, sizeof value);
  }
  vexcore::Guid Result() const noexcept { return hash_.Result(); }

 private:
  void Trace(const char* what) const noexcept;

  vexcore::MixHash hash_;
  bool traced_;
};

}  // namespace pf
