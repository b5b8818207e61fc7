// The depth of records and of host bitmap worlds, and their pixel formats.
#include "pixel/Depth.h"
#include "PF/PF_Worlds.h"
#include "edge/Guard.h"
#include "report/Report.h"

namespace {

constexpr PF_PixelFormat kFormats[] = {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64, PF_PixelFormat_ARGB128};
constexpr std::int32_t kDepths[] = {8, 16, 32};

std::int32_t DepthOfFormatByte(const PF_LayerDef& record) {
  const std::uint32_t format = record.world_flags >> PF_WorldFlag_FORMAT_SHIFT;
  if (format < 3) return kDepths[format];
  pf::FailVerification("Unknown pixel format");
  return 8;
}

}  // namespace

std::int32_t PFp_WorldDepth(const PF_LayerDef* record) {
  if (record == nullptr) {
    pf::FailVerification("Unknown pixel format");
    return 8;
  }
  return record->world_object != nullptr ? record->world_object->Depth() : DepthOfFormatByte(*record);
}

PF_Err PF_GetEffectWorldDepth(const PF_EffectWorld* record, std::int32_t* depth) {
  return pf::Guard([&]() -> PF_Err {
    if (record == nullptr || depth == nullptr) {
      pf::ReportCaller(pf::Site::kWorldDepth, pf::Message::kInvalidParameter);
      return PF_Err_BAD_PARAMETER;
    }
    *depth = PFp_WorldDepth(record);
    return PF_Err_NONE;
  });
}

std::int16_t PF_DepthOfBMWorld(BM_World** world) {
  if (world == nullptr || *world == nullptr) return 0;
  return static_cast<std::int16_t>((*world)->bits_per_pixel / 4);  // QUIRK-13: unchecked
}

PF_Err PFp_GetPixelFormat(const PF_EffectWorld* record, PF_PixelFormat* format) {
  return pf::Guard([&]() -> PF_Err {
    if (record == nullptr || format == nullptr) {
      return pf::FailVerification("Bad parameter to PFp_GetPixelFormat()");
    }
    const int index = pf::DepthIndex(PFp_WorldDepth(record));
    if (index < 0) return pf::FailVerification("Unsupported pixel depth in PFp_GetPixelFormat()");
    *format = kFormats[index];
    return PF_Err_NONE;
  });
}

PF_Err PFp_NewWorldOfPixelFormat(void* context, std::int32_t width, std::int32_t height, std::int32_t flags,
                                 PF_PixelFormat format, PF_EffectWorld* record) {
  return pf::Guard([&]() -> PF_Err {
    for (int i = 0; i < 3; ++i) {
      if (kFormats[i] == format) return PF_NewEffectWorld(context, width, height, kDepths[i], flags, 0, record);
    }
    return pf::FailVerification("Unsupported PF_PixelFormat");
  });
}
