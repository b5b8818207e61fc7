#include <algorithm>
#include <atomic>

#include "host/M.h"
#include "u/Version.h"

namespace pfhost {
namespace {

// This host keeps no tables for geometry; the state only tells whether prepare and unprepare match.
constinit std::atomic<std::int32_t> g_prepared{0};

bool IsEmpty(const M_LRect& r) { return r.left >= r.right || r.top >= r.bottom; }

M_LRect Intersection(const M_LRect& a, const M_LRect& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
}

M_LRect Union(const M_LRect& a, const M_LRect& b) {
  if (IsEmpty(a) && IsEmpty(b)) return {};
  if (IsEmpty(a)) return b;
  if (IsEmpty(b)) return a;
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right), std::max(a.bottom, b.bottom)};
}

}  // namespace
}  // namespace pfhost

U_Err M_CheckVersions(std::uint32_t, std::int32_t expected_version) {
  return pfhost::CheckVersion(expected_version, pfhost::kVersionM);
}

U_Err M_PrepareFCMD(std::int32_t count, void** state) {
  if (count != 1 || state == nullptr) return pfhost::ReportVerification("geometry is prepared once for one library");
  pfhost::g_prepared.fetch_add(1);
  *state = &pfhost::g_prepared;
  return 0;
}

U_Err M_UnprepareFCMD(void* state) {
  if (state != &pfhost::g_prepared) return pfhost::ReportVerification("not a geometry state of this host");
  if (pfhost::g_prepared.fetch_sub(1) > 0) return 0;
  pfhost::g_prepared.fetch_add(1);
  return pfhost::ReportVerification("geometry was released more often than prepared");
}

std::int32_t M_IntersectLRect(const M_LRect* first, const M_LRect* second, M_LRect* out) {
  const M_LRect result = pfhost::Intersection(*first, *second);
  const bool empty = pfhost::IsEmpty(result);
  *out = empty ? M_LRect{} : result;
  return empty ? 0 : 1;
}

void M_UnionLRect(const M_LRect* first, const M_LRect* second, M_LRect* out) { *out = pfhost::Union(*first, *second); }
