#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>

#include "PF/PF_LazyTiles.h"
#include "PF/PF_Worlds.h"
#include "report/Report.h"

namespace {

using pf::Message;
using pf::Site;

// Extents are told in 16 bits; what lies beyond is never asked for.
std::int16_t Told(std::int32_t size) {
  return static_cast<std::int16_t>(std::clamp<std::int32_t>(size, 0, std::numeric_limits<std::int16_t>::max()));
}

template <class T>
T& Given(T* pointer) {
  if (pointer != nullptr) return *pointer;
  pf::ReportCaller(Site::kTiles, Message::kBadCallbackParameter);
  pf::ThrowCode(PF_Err_BAD_PARAMETER);
}

std::unique_ptr<PF_World> WorldOver(PF_LayerDef& record) {
  if (record.data == nullptr) pf::ThrowCode(pf::FailCaller(Site::kTiles, Message::kBadCallbackParameter));
  std::unique_ptr<PF_World> world(PF_World::NewReference(&record));
  if (world == nullptr) pf::ThrowOutOfMemory();
  return world;
}

}  // namespace

PF_LazyOperator::PF_LazyOperator() = default;
PF_LazyOperator::PF_LazyOperator(const PF_LazyOperator&) = default;
PF_LazyOperator& PF_LazyOperator::operator=(const PF_LazyOperator&) = default;
PF_LazyOperator::~PF_LazyOperator() = default;

PF_LazyWorldCopyOperator::PF_LazyWorldCopyOperator(PF_LayerDef* dst, PF_LayerDef* src)
    : dst_(Given(dst)), src_(Given(src)) {}

PF_LazyWorldCopyOperator::PF_LazyWorldCopyOperator(const PF_LazyWorldCopyOperator&) = default;
PF_LazyWorldCopyOperator& PF_LazyWorldCopyOperator::operator=(const PF_LazyWorldCopyOperator&) = default;
PF_LazyWorldCopyOperator::~PF_LazyWorldCopyOperator() = default;

M_Vector2T<std::int16_t> PF_LazyWorldCopyOperator::GetExtent() const { return {Told(dst_.width), Told(dst_.height)}; }

void PF_LazyWorldCopyOperator::DoItImp(const M_Rect& rect) {
  const auto dst = WorldOver(dst_), src = WorldOver(src_);
  dst->CopyRect(src.get(), {rect.left, rect.top, rect.right, rect.bottom}, rect.left, rect.top);
}

void PF_LazyWorldCopyOperator::SetSourceWorld(PF_LayerDef* src) { src_ = Given(src); }

PF_LazyFillUnoBufferOperator::PF_LazyFillUnoBufferOperator(boost::scoped_ptr<PF_UnoBuffer>* mask, std::uint16_t value)
    : value_(value) {
  Given(Given(mask).get());
  mask_.swap(*mask);
}

PF_LazyFillUnoBufferOperator::~PF_LazyFillUnoBufferOperator() = default;

PF_UnoBuffer* PF_LazyFillUnoBufferOperator::GetBuffer() const { return mask_.get(); }

M_Vector2T<std::int16_t> PF_LazyFillUnoBufferOperator::GetExtent() const {
  return {Told(mask_->width), Told(mask_->height)};
}

void PF_LazyFillUnoBufferOperator::DoItImp(const M_Rect& rect) {
  const M_LRect area = {rect.left, rect.top, rect.right, rect.bottom};
  const PF_Err error = mask_->depth == 16 ? PF_FillDeepUnoBuffer(value_, area, mask_.get())
                                          : PF_FillUnoBuffer(static_cast<std::uint8_t>(value_), area, mask_.get());
  if (error != PF_Err_NONE) pf::ThrowCode(error);
}
