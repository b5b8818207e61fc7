// Allocation, release and filling of the records that plug-ins hold.
#include <cstring>

#include "PF/PF_Worlds.h"
#include "dispatch/Slot.h"
#include "edge/Guard.h"
#include "pixel/Depth.h"
#include "report/Report.h"

namespace {

std::int32_t WorldFlags(std::int32_t depth, std::int32_t clear, std::int32_t bitmap_backed) {
  return (clear != 0 ? PF_NewWorldFlag_CLEAR : 0) | (depth == 16 ? PF_NewWorldFlag_DEEP : 0) |
         (bitmap_backed != 0 ? PF_NewWorldFlag_BITMAP : 0);
}

PF_Err RefuseNull(pf::Site site) {
  pf::ReportCaller(site, pf::Message::kInvalidParameter);
  return PF_Err_BAD_PARAMETER;
}

}  // namespace

PF_Err PF_NewEffectWorld(void*, std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t clear,
                         std::int32_t bitmap_backed, PF_EffectWorld* record) {
  return pf::Guard([&]() -> PF_Err {
    if (record == nullptr) return RefuseNull(pf::Site::kNewEffectWorld);
    PF_World* world = PF_World::New(width, height, depth, WorldFlags(depth, clear, bitmap_backed));
    world->FillOutEffectWorld(record);
    record->owner_tag = PF_OwnerTag_ALLOCATED;
    return PF_Err_NONE;
  });
}

PF_Err PF_DisposeEffectWorld(void*, PF_EffectWorld* record) {
  return pf::Guard([&]() -> PF_Err {
    if (record == nullptr) return RefuseNull(pf::Site::kDisposeEffectWorld);
    if (record->owner_tag != PF_OwnerTag_ALLOCATED || record->world_object == nullptr) {
      // QUIRK-5: without a text the disposal goes on.
      if (pf::ReportCaller(pf::Site::kDisposeEffectWorld, pf::Message::kForeignWorld)) return PF_Err_BAD_PARAMETER;
    }
    delete record->world_object;
    std::memset(record, 0, sizeof(*record));
    return PF_Err_NONE;
  });
}

PF_Err PF_EffectWorldFromBMWorld(BM_World** world, PF_EffectWorld* record) {
  return pf::Guard([&]() -> PF_Err {
    if (record == nullptr) return RefuseNull(pf::Site::kNewEffectWorld);
    const int bits = world == nullptr || *world == nullptr ? 0 : (*world)->bits_per_pixel;
    if (bits != 128 && bits != 64 && bits != 32) {
      return pf::FailVerification("PF_Worlds can only be 128, 64 or 32 bits per pixel");
    }
    const BM_World& fields = **world;
    std::memset(record, 0, sizeof(*record));
    record->world_flags = pf::WorldFlagsOf(pf::DepthIndex(PF_DepthOfBMWorld(world)));
    record->data = fields.pixels != nullptr ? fields.pixels : BMp_GetPixBaseAddr(world);
    record->row_bytes = fields.row_bytes;
    record->width = fields.width;
    record->height = fields.height;
    record->bm_world = world;  // QUIRK-12: the extent stays all zero
    return PF_Err_NONE;
  });
}

PF_Err PF_OpenDestination(PF_InData* in, PF_EffectWorld* record) {
  return pf::Installed<&PF_OpenDestination_Static>(in, record);
}

PF_Err PF_CloseDestination(PF_InData* in, PF_EffectWorld* record) {
  return pf::Installed<&PF_CloseDestination_Static>(in, record);
}

// Only a host knows what its destinations need.
PF_Err PF_OpenDestination_Static(PF_InData*, PF_EffectWorld*) { return PF_Err_NONE; }
PF_Err PF_CloseDestination_Static(PF_InData*, PF_EffectWorld*) { return PF_Err_NONE; }
