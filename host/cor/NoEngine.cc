// A host without a colour engine: every call tells so, and nothing can be made that would have to be released.
#include "cor/Displays.h"
#include "embedded/PFhost.h"

namespace pfhost {

void StopDisplays() noexcept {}

}  // namespace pfhost

U_Err COR_GetStandardProfile(XCE_ProfileCode, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_GetDefaultWorkingProfile(COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_GetDisplayProfile(const void*, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_GetSystemDisplayProfile(COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_NewProfileFromICC(const void*, std::uint64_t, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_NewProfileFromFile(const char*, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_GetProfileICC(const COR_XCE_Profile*, void*, std::uint64_t, std::uint64_t*) { return XCE_ERR_ABSENT; }
U_Err COR_LinearizeProfile(const COR_XCE_Profile*, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_DescribeProfile(const COR_XCE_Profile*, COR_XCE_ProfileInfo*) { return XCE_ERR_ABSENT; }

U_Err COR_NewProfilePool(COR_XCE_ProfilePool**) { return XCE_ERR_ABSENT; }
void COR_DisposeProfilePool(COR_XCE_ProfilePool*) {}
U_Err COR_RegisterProfile(COR_XCE_ProfilePool*, const COR_XCE_ProfileRef*, _t_XCE_ID*) { return XCE_ERR_ABSENT; }
U_Err COR_FindProfile(const COR_XCE_ProfilePool*, const _t_XCE_ID*, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }

U_Err COR_NewTransform(const COR_XCE_Profile*, const COR_XCE_Profile*, const COR_XCE_TransformOptions*,
                       COR_XCE_Transform*) {
  return XCE_ERR_ABSENT;
}
void COR_ReleaseTransform(COR_XCE_Transform) {}
U_Err COR_ApplyTransform(COR_XCE_Transform, XCE_Layout, const void*, XCE_Layout, void*, std::uint64_t) {
  return XCE_ERR_ABSENT;
}

U_Err PFhost_SetDisplayProfile(const void*, const COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
