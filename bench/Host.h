// The embedded host under the benchmark, and the choice of kernels.
#pragma once

#include <string>

#include "PF/PF_Types.h"

namespace pfbench {

// Starts the host with so many threads, or starts it anew when it runs with another number. Throws
// std::runtime_error when it does not start.
void UseThreads(int threads);
void StopHost();

// The vector target that start-up chose.
std::string VectorTarget();

// Throws std::runtime_error with the host's report unless `error` is 0.
void Check(PF_Err error, const std::string& what);

// From construction to destruction the library's own iteration is installed: rows run in order on the
// calling thread.
class OnCallingThread {
 public:
  OnCallingThread();
  ~OnCallingThread();
  OnCallingThread(const OnCallingThread&) = delete;
  OnCallingThread& operator=(const OnCallingThread&) = delete;

 private:
  PF_AnyFunc installed_;
};

// From construction to destruction the library runs its portable kernels.
class PortableKernels {
 public:
  PortableKernels();
  ~PortableKernels();
  PortableKernels(const PortableKernels&) = delete;
  PortableKernels& operator=(const PortableKernels&) = delete;
};

}  // namespace pfbench
