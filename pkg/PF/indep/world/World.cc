// What all worlds share: life, records, and the operations on their geometry.
#include <cstring>

#include "PF/PF_Worlds.h"
#include "host/vexcore.h"
#include "lifecycle/Globals.h"
#include "pixel/Depth.h"
#include "report/Report.h"
#include "world/SubRect.h"

namespace {

constexpr std::uint64_t kDead = 0xDEAD;

// The value that the storage held before the object began. Volatile: the compiler may take what is not
// initialised yet for undefined.
std::uint64_t HeldBefore(const volatile std::uint64_t* place) { return *place; }

}  // namespace

PF_PixelContainerBase::~PF_PixelContainerBase() = default;

std::uint64_t PF_PixelContainerBase::PixelSize() const { return static_cast<std::uint64_t>(Depth()) / 2; }

PF_World::PF_World(bool keep_context)
    : self_check(this), context_value(keep_context ? HeldBefore(&context_value) : 0) {}

PF_World::~PF_World() {
  // Volatile: the compiler may drop stores to an object that is about to end.
  static_cast<volatile std::uint64_t&>(life_mark) = kDead;
}

void* PF_World::operator new(std::size_t size) noexcept { return vexcore::AllocateSmallBlock(size); }

void PF_World::operator delete(void* block, std::size_t size) noexcept { vexcore::FreeSmallBlock(block, size); }

void PF_World::ShrinkToSubRect(const M_LRect& rect) {
  if (!pf::IsInside(rect, *this)) pf::ThrowVerification("bad sub rect in ShrinkToSubRect");
  if (HasBMWorld()) pf::ThrowVerification("Can't Shrink a PF_World which is backed by a BM_World");
  pf::TakeSubRect(*this, *this, rect, Depth() / 2);
}

void PF_World::ReReference(PF_World* src, const M_LRect& rect) {
  if (src == nullptr || src->Depth() != Depth()) pf::ThrowVerification("can't change bit depth in ReReference");
  if (!pf::IsInside(rect, *src)) pf::ThrowVerification("bad sub rect in ReReference");
  if (src == this) pf::ThrowVerification("can't ReReference self");
  reserved[0] = reserved[1] = 0;
  world_flags = src->world_flags;
  pf::TakeSubRect(*this, *src, rect, Depth() / 2);
  life_mark = 0;
  self_check = this;
  context_value = 0;
  bm_world = nullptr;
}

bool PF_World::RefersTo(const PF_World* other) const {
  if (other == nullptr || !IsReference() || Depth() != other->Depth()) return false;
  if (row_bytes == 0 || row_bytes != other->row_bytes) return false;
  if (width > other->width || height > other->height) return false;
  // QUIRK-7: the column is not tested.
  const auto begin = reinterpret_cast<std::uintptr_t>(other->data);
  const auto here = reinterpret_cast<std::uintptr_t>(data);
  return here >= begin && static_cast<std::int64_t>(here - begin) / row_bytes < other->height;
}

void PF_World::CopyWorld(const PF_World* src) {
  // A null source has no size; CopyRect answers it like one of another depth.
  CopyRect(src, src == nullptr ? M_LRect{} : M_LRect{0, 0, src->width, src->height}, 0, 0);
}

void PF_World::FillOutEffectWorld(PF_LayerDef* record) const {
  if (record == nullptr) return;
  std::memset(record, 0, sizeof(*record));
  record->data = data;
  record->row_bytes = row_bytes;
  record->width = width;
  record->height = height;
  record->extent = extent;
  const int format = pf::DepthIndex(Depth());
  if (format < 0) pf::ThrowVerification("Unknown pixel format");
  record->world_flags = pf::WorldFlagsOf(format);
  record->world_object = const_cast<PF_World*>(this);
  record->bm_world = bm_world;
}

void PF_WorldDebugger(const PF_World*) {}

std::int64_t PFp_LiveWorldCount() { return pf::g_live_worlds.load(std::memory_order_relaxed); }
