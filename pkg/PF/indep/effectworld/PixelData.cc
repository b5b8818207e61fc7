// Typed access to the pixels of a record.
#include "PF/PF_Worlds.h"
#include "edge/Guard.h"
#include "pixel/Depth.h"
#include "report/Report.h"

namespace {

template <class P>
PF_Err GetPixelData(const PF_EffectWorld* record, void* pixels, P** out, const char* refusal) {
  return pf::Guard([&]() -> PF_Err {
    if (out != nullptr) *out = nullptr;
    if (record == nullptr || out == nullptr) {
      pf::ReportText(pf::Site::kGetPixelData, refusal);
      return PF_Err_BAD_PARAMETER;
    }
    // Asking for the wrong type is no error.
    if (PFp_WorldDepth(record) != pf::DepthTraits<P>::kDepth) return PF_Err_NONE;
    *out = static_cast<P*>(pixels != nullptr ? pixels : record->data);
    return PF_Err_NONE;
  });
}

constexpr char kRefusal8[] = "bad parameter passed to PF_GetPixelData8";
constexpr char kRefusalFloat[] = "bad parameter passed to PF_GetPixelDataFloat";

}  // namespace

PF_Err PF_GetPixelData8(PF_EffectWorld* record, void* pixels, PF_Pixel8** out) {
  return GetPixelData(record, pixels, out, kRefusal8);
}

// QUIRK-4: the wording of the 8-bit function is the one that hosts know.
PF_Err PF_GetPixelData16(PF_EffectWorld* record, void* pixels, PF_Pixel16** out) {
  return GetPixelData(record, pixels, out, kRefusal8);
}

PF_Err PF_GetPixelDataFloat(PF_EffectWorld* record, void* pixels, PF_PixelFloat** out) {
  return GetPixelData(record, pixels, out, kRefusalFloat);
}
