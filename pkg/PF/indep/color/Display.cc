// Displays, and what profiles say of themselves.
#include "PF/PF_ColorSettings.h"
#include "color/Engine.h"
#include "edge/Guard.h"
#include "host/PREF.h"

namespace pf {
namespace {

bool ClipsFloats(bool theater_preview) {
  if (theater_preview) return false;
  return PREF_GetBool("Display Transform Section", "Clip over range in Display Transform when not Theater Preview",
                      0) != 0;
}

void Store(double gamma, float* out) {
  if (out != nullptr) *out = static_cast<float>(gamma);
}

}  // namespace
}  // namespace pf

boost::shared_ptr<COR_XCE_Profile> PF_GetPlatformDisplayProfile(const void* display) {
  pf::ProfileRef profile;
  pf::CheckEngine(display != nullptr ? COR_GetDisplayProfile(display, &profile)
                                     : COR_GetSystemDisplayProfile(&profile));
  return profile;
}

COR_XCE_Transform PF_NewDisplayTransform(const boost::shared_ptr<COR_XCE_Profile>& working,
                                         const boost::shared_ptr<COR_XCE_Profile>& display,
                                         const boost::shared_ptr<COR_XCE_Profile>& first_proof,
                                         const boost::shared_ptr<COR_XCE_Profile>& second_proof, bool linearized,
                                         bool theater_preview) {
  COR_XCE_TransformOptions options = {};
  options.intent = XCE_Intent_RELATIVE_COLORIMETRIC;
  options.proofs[0] = first_proof.get();
  options.proofs[1] = second_proof.get();
  options.clip_float = pf::ClipsFloats(theater_preview);
  const pf::ProfileRef source = linearized ? pf::Linearized(working.get()) : working;
  return pf::NewTransform(source.get(), display.get(), &options).release();
}

PF_Err PF_GetCalRGBGammas(const COR_XCE_Profile* profile, float* red, float* green, float* blue) {
  return pf::Guard([&] {
    const pf::ChannelGammas gammas = pf::GammasOf(profile);
    pf::Store(gammas.red, red);
    pf::Store(gammas.green, green);
    pf::Store(gammas.blue, blue);
    return PF_Err{PF_Err_NONE};
  });
}
