// The exported edge: the only place that turns an exception into a code.
#pragma once

#include <new>

#include "PF/PF_Errors.h"
#include "report/Report.h"

namespace pf {

// Runs the body of a plain export. `f` returns a code or throws.
template <class F>
PF_Err Guard(F&& f) noexcept {
  try {
    return f();
  } catch (const PF_Error& error) {
    return error.code();
  } catch (const std::bad_alloc&) {
    return PF_Err_OUT_OF_MEMORY;
  } catch (...) {
    return FailVerification("unexpected exception at the edge of the library");
  }
}

}  // namespace pf
