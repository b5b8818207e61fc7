#include "color/Emergency.h"

#include <atomic>
#include <memory>

#include "PF/PF_ColorSettings.h"
#include "color/Engine.h"
#include "lifecycle/Globals.h"

namespace pf {
namespace {

// Releases the settings and the pool that is their own.
struct SettingsReleaser {
  void operator()(PF_ColorSettings* settings) const {
    COR_XCE_ProfilePool* pool = settings->GetProfilePool();
    delete settings;
    COR_DisposeProfilePool(pool);
  }
};
using OwnedSettings = std::unique_ptr<PF_ColorSettings, SettingsReleaser>;

OwnedSettings MakeSettings() {
  OwnedSettings settings(new PF_ColorSettings);
  COR_XCE_ProfilePool* pool = nullptr;
  CheckEngine(COR_NewProfilePool(&pool));
  settings->SetProfilePool(pool);
  ProfileRef working;
  CheckEngine(COR_GetDefaultWorkingProfile(&working));
  settings->SetProfile(working);
  settings->SetLinearize(true);
  // Filled caches never change again, so that many threads may ask.
  settings->GetAdjustedProfile();
  settings->GetCalGrayGamma();
  settings->GetLinearBlendingTables(true);
  return settings;
}

}  // namespace

void ReleaseEmergencySettings() { OwnedSettings(g_emergency_settings.exchange(nullptr)).reset(); }

}  // namespace pf

PF_ColorSettings* PF_GetEmergencyColorSettings() {
  PF_ColorSettings* settings = pf::g_emergency_settings.load(std::memory_order_acquire);
  if (settings != nullptr) return settings;
  pf::OwnedSettings fresh = pf::MakeSettings();
  // Whoever comes second throws its own away.
  if (pf::g_emergency_settings.compare_exchange_strong(settings, fresh.get(), std::memory_order_acq_rel)) {
    return fresh.release();
  }
  return settings;
}
