// Accumulation and transfer.
#include "edge/Guard.h"
#include "mask/CombineRows.h"

namespace pf {
namespace {

PF_Err Accumulate(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, std::int32_t mode, float src_weight,
                  float dst_weight, const M_LRect* rect, const M_LPoint* at, const PF_UnoBuffer* dst) {
  CheckMask(src);
  CheckMask(dst);
  if (const PF_Err error = CheckCombination(mode, {src, dst})) return error;
  if (rect == nullptr || at == nullptr) return PF_Err_BAD_PARAMETER;
  const MaskArea area = ClipMasks(*src, *rect, *at, *dst);
  if (area.Empty()) return PF_Err_NONE;  // QUIRK-27
  const LockedMask from(src), to(dst);
  const CombineOperand s(from, area.src_x, area.src_y, src_weight, to, area);
  const CombineOperand d(to, area.dst_x, area.dst_y, dst_weight, to, area);
  return CombineRows(progress, mode, s, d, to, area);
}

PF_Err Transfer(const PF_ProgressInfo* progress, const PF_UnoBuffer* first, const PF_UnoBuffer* second,
                std::int32_t mode, const M_LRect* rect, const M_LPoint* at, const PF_UnoBuffer* dst) {
  CheckMask(first);
  CheckMask(second);
  CheckMask(dst);
  if (const PF_Err error = CheckCombination(mode, {first, second, dst})) return error;
  if (first->width != second->width || first->height != second->height) return PF_Err_BAD_PARAMETER;
  if (rect == nullptr || at == nullptr) return PF_Err_BAD_PARAMETER;
  const MaskArea area = ClipMasks(*first, *rect, *at, *dst);
  if (area.Empty()) return PF_Err_NONE;  // QUIRK-27
  const LockedMask from(first), with(second), to(dst);
  const CombineOperand s(from, area.src_x, area.src_y, 1, to, area);
  const CombineOperand d(with, area.src_x, area.src_y, 1, to, area);
  return CombineRows(progress, mode, s, d, to, area);
}

}  // namespace
}  // namespace pf

PF_Err PF_AccumulateUnoBuffers(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, std::int32_t mode,
                               const M_LRect* rect, const M_LPoint* at, PF_UnoBuffer* dst) {
  return pf::Guard([&] { return pf::Accumulate(progress, src, mode, 1, 1, rect, at, dst); });
}

PF_Err PF_AccumulateUnoBuffers(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, std::int32_t mode,
                               float src_weight, const M_LRect* rect, const M_LPoint* at, PF_UnoBuffer* dst) {
  return pf::Guard([&] { return pf::Accumulate(progress, src, mode, src_weight, 1, rect, at, dst); });
}

PF_Err PF_AccumulateUnoBuffers(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, std::int32_t mode,
                               float src_weight, float dst_weight, const M_LRect* rect, const M_LPoint* at,
                               PF_UnoBuffer* dst) {
  return pf::Guard([&] { return pf::Accumulate(progress, src, mode, src_weight, dst_weight, rect, at, dst); });
}

PF_Err PF_TransferUnoBuffers(const PF_ProgressInfo* progress, const PF_UnoBuffer* first, const PF_UnoBuffer* second,
                             std::int32_t mode, const M_LRect* rect, const M_LPoint* at, PF_UnoBuffer* dst) {
  return pf::Guard([&] { return pf::Transfer(progress, first, second, mode, rect, at, dst); });
}
