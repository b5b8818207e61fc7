// Mutexes and conditions that give back what they hold. Those of libstdc++ keep what winpthreads made for them.
#pragma once

#include <condition_variable>
#include <mutex>

#if defined(__MINGW32__)
#include <pthread.h>
#endif

namespace pfhost {

#if defined(__MINGW32__)
struct Mutex : std::mutex {
  ~Mutex() { pthread_mutex_destroy(native_handle()); }
};
struct Condition : std::condition_variable {
  ~Condition() { pthread_cond_destroy(native_handle()); }
};
#else
using Mutex = std::mutex;
using Condition = std::condition_variable;
#endif

}  // namespace pfhost
