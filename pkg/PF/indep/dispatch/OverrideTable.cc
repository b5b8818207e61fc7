#include "dispatch/OverrideTable.h"

#include "report/Report.h"

namespace pf {
namespace {

constexpr bool RowsAreInOrder() {
  int last = 0;
  for (const OverrideRow& row : kOverrideTable) {
    if (row.index <= last || row.index > PF_OVERRIDE_COUNT) return false;
    last = row.index;
  }
  return true;
}
static_assert(RowsAreInOrder(), "each index stands once, in rising order, within the table");

}  // namespace

const OverrideRow* FindOverride(int index) {
  for (const OverrideRow& row : kOverrideTable) {
    if (row.index == index) return &row;
  }
  return nullptr;
}

void ResetOverrides() {
  for (const OverrideRow& row : kOverrideTable) row.set(nullptr);
}

}  // namespace pf

PF_Err PF_SetOverrideFunc(std::int32_t index, PF_AnyFunc function) {
  if (index < 1 || index > PF_OVERRIDE_COUNT) return PF_Err_REPORTED;
  // A free index takes any function and nothing calls it.
  if (const pf::OverrideRow* row = pf::FindOverride(index)) row->set(function);
  return PF_Err_NONE;
}

PF_AnyFunc PF_GetOverrideFunc(std::int32_t index) {
  const pf::OverrideRow* row = pf::FindOverride(index);
  return row != nullptr ? row->get() : nullptr;
}

const char* PF_GetOverrideName(std::int32_t index) {
  const pf::OverrideRow* row = pf::FindOverride(index);
  return row != nullptr ? row->name : nullptr;
}

PF_Err PF_OverrideStdFuncs(const void*) {
  pf::ReportCaller(pf::Site::kOverrideStdFuncs, pf::Message::kObsoleteRoutine);
  return PF_Err_INVALID_CALLBACK;
}

PF_Err PF_GetCallbackAddr(std::int32_t selector, PF_AnyFunc* out) {
  if (out == nullptr) {
    pf::ReportCaller(pf::Site::kGetCallbackAddr, pf::Message::kInvalidParameter);
    return PF_Err_BAD_PARAMETER;
  }
  *out = PF_GetOverrideFunc(selector);
  if (*out != nullptr) return PF_Err_NONE;
  pf::ReportCaller(pf::Site::kGetCallbackAddr, pf::Message::kInvalidCallbackSelector);
  return PF_Err_INVALID_CALLBACK;
}
