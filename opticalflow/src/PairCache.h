// The motion of a pair of frames: computed by one, used by many.
#pragma once

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "PF/PF_FrameBlending.h"
#include "PairMotion.h"
#include "motion/Pictures.h"
#include "multiprocess/Interrupt.h"

namespace pf {

// What several threads share of one pair.
class SharedMotion {
 public:
  enum class Turn {
    kReady,    // the motion is there
    kCompute,  // this thread has to compute it, and then to call Publish or Abandon
    kAlone     // this thread is computing it already, further up its stack
  };

#if defined(__MINGW32__)
  // libstdc++ keeps what winpthreads made for these.
  ~SharedMotion() {
    pthread_cond_destroy(changed_.native_handle());
    pthread_mutex_destroy(mutex_.native_handle());
  }
#endif

  // Waits while another thread computes. Throws 517 when the waiting thread is asked to stop.
  Turn WaitForTurn(const Interrupt& interrupt);
  void Publish(std::unique_ptr<PairMotion> motion);
  // Nothing came of it; another thread may try.
  void Abandon();

  // Null until it is there.
  const PairMotion* motion() const { return ready_.load(std::memory_order_acquire); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool taken_ = false;
  std::uint64_t owner_ = 0;
  std::unique_ptr<PairMotion> motion_;
  std::atomic<const PairMotion*> ready_{nullptr};
};

struct FramePair {
  const PF_World* previous;
  const PF_World* next;
};

// A pair of frames at work.
struct MotionRequest {
  const PF_Tavros_AlgoParams& algo;
  FramePair frames;
  const PairPictures& pictures;
  Workspace& workspace;
  const Interrupt& interrupt;
};

using MotionRef = boost::shared_ptr<PF_TavrosCache_Stuff>;

// 0, or 514 when a field is out of its range.
PF_Err CheckRange(const PF_Tavros_AlgoParams& algo);

// The motion of a pair, from the media cache, or computed and filed there. What was computed is taken out again unless
// it is to be kept: a call that fails leaves nothing behind.
class FoundMotion {
 public:
  FoundMotion(const MotionRequest& request, const vexcore::Guid& key);
  ~FoundMotion();
  FoundMotion(const FoundMotion&) = delete;
  FoundMotion& operator=(const FoundMotion&) = delete;

  const MotionRef& item() const { return item_; }
  const PairMotion& motion() const { return *item_->shared().motion(); }
  void Keep() { kept_ = true; }

 private:
  vexcore::Guid key_;
  MotionRef item_;
  bool kept_ = true;
};

// Fills an item of the caller's. False when it is filled already, or by somebody else at the same time. Throws.
bool FillMotion(const MotionRequest& request, PF_TavrosCache_Stuff& item);

// Computes. Throws.
std::unique_ptr<PairMotion> EstimateMotion(const MotionRequest& request);

}  // namespace pf
