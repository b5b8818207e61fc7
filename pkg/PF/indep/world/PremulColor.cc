#include "PF/PF_Worlds.h"
#include "edge/Guard.h"
#include "report/Report.h"
#include "world/AlphaRows.h"
#include "world/WorldPlane.h"

PF_Err PF_PremulColor16(PF_World* world, const PF_Pixel16* matte) {
  return pf::Guard([&]() -> PF_Err {
    if (world == nullptr || matte == nullptr) {
      pf::ReportCaller(pf::Site::kPremulColor, pf::Message::kInvalidParameter);
      return PF_Err_BAD_PARAMETER;
    }
    if (world->Depth() != 16) return pf::FailVerification("PF_PremulColor16 needs a 16-bit world");
    pf::ForRows(pf::PlaneOf<PF_Pixel16>(*world), pf::AlphaRow(&pf::AlphaKernels::onto_matte, *matte));
    return PF_Err_NONE;
  });
}
