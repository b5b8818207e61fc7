#include "PairCache.h"

#include <boost/make_shared.hpp>
#include <chrono>
#include <utility>

#include "report/Report.h"

namespace pf {
namespace {

constexpr std::chrono::milliseconds kAskWhileWaiting(5);

// The right to compute an item; given up when nothing came of it, and the item taken out of the cache again.
class Claim {
 public:
  // \param key what the item is filed under, or null.
  Claim(PF_TavrosCache_Stuff& item, const vexcore::Guid* key) : item_(item), key_(key) {}
  ~Claim() {
    if (published_) return;
    if (key_ != nullptr) MC_Remove(*key_, &item_);
    item_.shared().Abandon();
  }
  Claim(const Claim&) = delete;
  Claim& operator=(const Claim&) = delete;

  void Publish(std::unique_ptr<PairMotion> motion) {
    item_.shared().Publish(std::move(motion));
    published_ = true;
  }

 private:
  PF_TavrosCache_Stuff& item_;
  const vexcore::Guid* key_;
  bool published_ = false;
};

// What the key has: an item of the cache, or the given one, filed. An item that the cache does not keep serves as well.
MotionRef FiledUnder(const vexcore::Guid& key, const MotionRef& fresh) {
  MC_StuffRef found;
  if (const U_Err error = MC_Find(key, &found)) ThrowCode(error);
  if (!found) {
    if (const U_Err error = MC_File(key, fresh, &found)) ThrowCode(error);
  }
  MotionRef motion = boost::dynamic_pointer_cast<PF_TavrosCache_Stuff>(found);
  return motion ? motion : fresh;
}

}  // namespace

SharedMotion::Turn SharedMotion::WaitForTurn(const Interrupt& interrupt) {
  std::unique_lock lock(mutex_);
  while (taken_) {
    if (owner_ == vexcore::CurrentThreadIdentity()) return Turn::kAlone;
    changed_.wait_for(lock, kAskWhileWaiting);
    lock.unlock();
    interrupt.ThrowIfAsked();
    lock.lock();
  }
  if (motion_ != nullptr) return Turn::kReady;
  taken_ = true;
  owner_ = vexcore::CurrentThreadIdentity();
  return Turn::kCompute;
}

void SharedMotion::Publish(std::unique_ptr<PairMotion> motion) {
  const std::lock_guard lock(mutex_);
  motion_ = std::move(motion);
  ready_.store(motion_.get(), std::memory_order_release);
  taken_ = false;
  changed_.notify_all();
}

void SharedMotion::Abandon() {
  const std::lock_guard lock(mutex_);
  taken_ = false;
  changed_.notify_all();
}

FoundMotion::FoundMotion(const MotionRequest& request, const vexcore::Guid& key)
    : key_(key), item_(FiledUnder(key, boost::make_shared<PF_TavrosCache_Stuff>())) {
  const SharedMotion::Turn turn = item_->shared().WaitForTurn(request.interrupt);
  if (turn == SharedMotion::Turn::kReady) return;
  if (turn == SharedMotion::Turn::kAlone) {
    item_ = boost::make_shared<PF_TavrosCache_Stuff>();
    item_->shared().Publish(EstimateMotion(request));
    return;
  }
  {
    Claim claim(*item_, &key_);
    claim.Publish(EstimateMotion(request));
  }
  kept_ = false;
  // Whoever gave up before took it out.
  MC_StuffRef filed;
  MC_File(key_, item_, &filed);
  MC_Changed(key_, item_.get());
}

FoundMotion::~FoundMotion() {
  if (!kept_) MC_Remove(key_, item_.get());
}

bool FillMotion(const MotionRequest& request, PF_TavrosCache_Stuff& item) {
  if (item.shared().WaitForTurn(request.interrupt) != SharedMotion::Turn::kCompute) return false;
  Claim claim(item, nullptr);
  claim.Publish(EstimateMotion(request));
  return true;
}

}  // namespace pf

PF_TavrosCache_Stuff::PF_TavrosCache_Stuff() : shared_(new pf::SharedMotion) {}

PF_TavrosCache_Stuff::~PF_TavrosCache_Stuff() = default;

std::uint64_t PF_TavrosCache_Stuff::Bytes() const {
  const pf::PairMotion* motion = shared_->motion();
  return sizeof *this + (motion != nullptr ? motion->Bytes() : 0);
}

bool PF_TavrosCache_Stuff::Empty() const { return shared_->motion() == nullptr; }

std::int32_t PF_TavrosCache_Stuff::Width() const {
  const pf::PairMotion* motion = shared_->motion();
  return motion != nullptr ? motion->width : 0;
}

std::int32_t PF_TavrosCache_Stuff::Height() const {
  const pf::PairMotion* motion = shared_->motion();
  return motion != nullptr ? motion->height : 0;
}

PF_MotionVector PF_TavrosCache_Stuff::Vector(PF_MotionDirection direction, std::int32_t x, std::int32_t y) const {
  const pf::PairMotion& motion = *shared_->motion();
  const pf::MotionField& field = direction == PF_MotionDirection_FORWARD ? motion.forward : motion.backward;
  const std::size_t at =
      static_cast<std::size_t>(y) * static_cast<std::size_t>(motion.width) + static_cast<unsigned>(x);
  constexpr float kUnit = 2 / pf::kMotionUnits;
  return {static_cast<float>(field.u[at]) * kUnit, static_cast<float>(field.v[at]) * kUnit};
}
