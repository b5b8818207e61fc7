// The host's colour engine, with its statuses turned into exceptions and its transforms owned.
#pragma once

#include <memory>

#include "host/COR.h"
#include "report/Report.h"

namespace pf {

using ProfileRef = COR_XCE_ProfileRef;

// Every status of the engine passes through here.
inline void CheckEngine(U_Err status) {
  if (status != 0) ThrowEngineFailure(status);
}

struct TransformReleaser {
  void operator()(COR_XCE_Transform transform) const { COR_ReleaseTransform(transform); }
};
using OwnedTransform = std::unique_ptr<XCETransform, TransformReleaser>;

OwnedTransform NewTransform(const COR_XCE_Profile* from, const COR_XCE_Profile* to,
                            const COR_XCE_TransformOptions* options = nullptr);

ProfileRef Linearized(const COR_XCE_Profile* profile);
ProfileRef StandardProfile(XCE_ProfileCode code);

struct ChannelGammas {
  double red, green, blue;
};
// All three finite and above 0.
ChannelGammas GammasOf(const COR_XCE_Profile* profile);

}  // namespace pf
