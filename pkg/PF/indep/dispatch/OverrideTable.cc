#include "dispatch/OverrideTable.h"

#include <atomic>

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

// What a host has put at indices that no function of the library stands behind. Written by
// PF_SetOverrideFunc, cleared by PF_Birth.
constinit std::atomic<PF_AnyFunc> g_free_entries[PF_OVERRIDE_COUNT + 1] = {};

bool InTable(int index) { return index >= 1 && index <= PF_OVERRIDE_COUNT; }

}  // namespace

const OverrideRow* FindOverride(int index) {
  for (const OverrideRow& row : kOverrideTable) {
    if (row.index == index) return &row;
  }
  return nullptr;
}

void ResetOverrides() {
  for (const OverrideRow& row : kOverrideTable) row.set(nullptr);
  for (auto& entry : g_free_entries) entry = nullptr;
}

namespace {

void SetEntry(int index, PF_AnyFunc function) {
  if (const OverrideRow* row = FindOverride(index)) {
    row->set(function);
  } else {
    g_free_entries[index] = function;
  }
}

PF_AnyFunc GetEntry(int index) {
  if (!InTable(index)) return nullptr;
  const OverrideRow* row = FindOverride(index);
  return row != nullptr ? row->get() : g_free_entries[index].load();
}

}  // namespace

}  // namespace pf

PF_Err PF_SetOverrideFunc(std::int32_t index, PF_AnyFunc function) {
  if (!pf::InTable(index)) return PF_Err_REPORTED;
  pf::SetEntry(index, function);
  return PF_Err_NONE;
}

PF_AnyFunc PF_GetOverrideFunc(std::int32_t index) { return pf::GetEntry(index); }

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
    return PF_Err_BAD_PARAMETER;  // null is refused with or without a text
  }
  *out = PF_GetOverrideFunc(selector);
  if (*out != nullptr) return PF_Err_NONE;
  pf::ReportCaller(pf::Site::kGetCallbackAddr, pf::Message::kInvalidCallbackSelector);
  return PF_Err_INVALID_CALLBACK;
}
