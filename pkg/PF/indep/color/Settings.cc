#include "PF/PF_ColorSettings.h"

#include <functional>

#include "color/Engine.h"
#include "report/TracedHash.h"

namespace pf {
namespace {

ProfileRef Find(const COR_XCE_ProfilePool* pool, const _t_XCE_ID& id) {
  ProfileRef profile;
  if (pool != nullptr) CheckEngine(COR_FindProfile(pool, &id, &profile));
  return profile;
}

template <class T>
std::int32_t Order(const T& a, const T& b) {
  if (std::less<T>()(a, b)) return -1;
  return std::less<T>()(b, a) ? 1 : 0;
}

}  // namespace
}  // namespace pf

void PFp_TransferColorSettings(const PF_ColorSettings* from, PF_ColorSettings* to) {
  if (from == nullptr || to == nullptr) return;
  const bool any = from->profilePool != nullptr;
  const _t_XCE_ID id = any ? from->profileId : _t_XCE_ID{};
  const bool linearize = any && from->linearize, blending = any && from->linearBlending, valid = any && from->valid;
  to->profilePool = from->profilePool;
  to->profileId = id;
  to->InvalidateCachedValues(id);
  to->linearize = linearize;
  to->linearBlending = blending;
  to->valid = valid;
}

PF_ColorSettings::PF_ColorSettings(COR_XCE_ProfilePool* pool) : profilePool(pool) {}

PF_ColorSettings::PF_ColorSettings(const PF_ColorSettings& other) { PFp_TransferColorSettings(&other, this); }

PF_ColorSettings& PF_ColorSettings::operator=(const PF_ColorSettings& other) {
  PFp_TransferColorSettings(&other, this);
  return *this;
}

PF_ColorSettings::~PF_ColorSettings() = default;

void PF_ColorSettings::SetProfileID(const _t_XCE_ID& id) {
  profileId = id;
  InvalidateCachedValues(profileId);
  linearize = false;
  linearBlending = false;
  valid = profileId != _t_XCE_ID{};
}

void PF_ColorSettings::SetProfile(boost::shared_ptr<COR_XCE_Profile> profile) {
  if (profilePool == nullptr) {
    pf::ThrowVerification("You have to have a valid profile pool to set a profile.", pf::Site::kColorSettings);
  }
  _t_XCE_ID id = {};
  pf::CheckEngine(COR_RegisterProfile(profilePool, &profile, &id));
  SetProfileID(id);
}

void PF_ColorSettings::InvalidateCachedValues(_t_XCE_ID) {
  blendingTables.reset();
  adjustedProfile.reset();
  cachedGamma = 0;
}

boost::shared_ptr<COR_XCE_Profile> PF_ColorSettings::GetProfile() const { return pf::Find(profilePool, profileId); }

boost::shared_ptr<COR_XCE_Profile> PF_ColorSettings::GetAdjustedProfile() {
  if (!linearize) return GetProfile();
  if (adjustedProfile == nullptr) adjustedProfile = pf::Linearized(GetProfile().get());
  return adjustedProfile;
}

boost::shared_ptr<PF_LinearBlendingTables> PF_ColorSettings::GetLinearBlendingTables(bool force) {
  if (!force && (!linearBlending || linearize)) return {};
  if (blendingTables == nullptr) blendingTables = PF_MakeLinearizationTables(GetProfile());
  return blendingTables;
}

// QUIRK-46: a cached value stays when a flag has changed.
float PF_ColorSettings::GetCalGrayGamma() {
  if (cachedGamma == 0) cachedGamma = static_cast<float>(pf::GammasOf(GetAdjustedProfile().get()).green);
  return cachedGamma;
}

bool PF_ColorSettings::operator==(PF_ColorSettings other) const {
  return linearize == other.linearize && linearBlending == other.linearBlending && profilePool == other.profilePool &&
         GetProfile() == other.GetProfile();
}

std::int32_t PF_ColorSettings::GetSortOrder(const PF_ColorSettings& other) const {
  if (const std::int32_t pools = pf::Order(profilePool, other.profilePool)) return pools;
  if (const std::int32_t profiles = pf::Order(GetProfile().get(), other.GetProfile().get())) return profiles;
  if (const std::int32_t order = pf::Order(linearize, other.linearize)) return order;
  return pf::Order(linearBlending, other.linearBlending);
}

vexcore::Guid PF_ColorSettings::GetRenderGuid() const {
  pf::TracedHash hash("PF_ColorSettings");
  hash.MixValue("profile id", profileId);
  hash.MixValue("linear blending", std::uint8_t{linearBlending});
  hash.MixValue("linearize", std::uint8_t{linearize});
  return hash.Result();
}
