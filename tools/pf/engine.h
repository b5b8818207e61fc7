/// \file
/// Starting the library on its embedded host, and its error codes as the tool's failures.
#ifndef TOOLS_PF_ENGINE_H
#define TOOLS_PF_ENGINE_H

#include <functional>
#include <string>

#include "PF/PF_Errors.h"

namespace pftool {

/// The running library. One at a time; worlds must be gone before it ends.
class Engine {
 public:
  /// \param threads 0 = one per processor. \throws Failure (70 or 71) when the library does not start.
  explicit Engine(int threads);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
};

/// Passes 0, throws for every other code: Interrupted for a cancelled call after a signal, Failure (71) for
/// 4, Failure (70) with the host's newest report for the rest.
/// \param doing what the call was for, as in "cannot scale".
void Check(PF_Err code, const std::string& doing, const std::string& where);

/// Runs code that uses world objects and turns what they throw as Check does.
void Guarded(const std::string& doing, const std::string& where, const std::function<void()>& work);

}  // namespace pftool

#endif
