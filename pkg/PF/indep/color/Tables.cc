// Tables between stored values and linear light.
#include <algorithm>
#include <array>
#include <boost/make_shared.hpp>

#include "PF/PF_ColorSettings.h"
#include "color/Engine.h"
#include "pixel/ConvertDepth.h"

namespace pf {
namespace {

constexpr std::int32_t kSamples = 4097;  // of the 16-bit range, one every eighth value
using Samples = std::array<std::int32_t, kSamples>;

void FillToLinear(const COR_XCE_Profile* profile, std::uint16_t (&to_linear)[256]) {
  PF_Pixel16 ramp[256], linear[256] = {};
  for (std::uint32_t code = 0; code < 256; ++code) {
    const std::uint16_t value = Widen(static_cast<std::uint8_t>(code));
    ramp[code] = {PF_MAX_CHAN16, value, value, value};
  }
  const ProfileRef linear_profile = Linearized(profile);
  const OwnedTransform transform = NewTransform(profile, linear_profile.get());
  CheckEngine(COR_ApplyTransform(transform.get(), XCE_Layout_16, ramp, XCE_Layout_16, linear, 256));
  for (std::size_t code = 0; code < 256; ++code) {
    to_linear[code] = std::min<std::uint16_t>(linear[code].red, PF_MAX_CHAN16);
  }
}

// Linear light of every eighth 16-bit value, never falling.
Samples ForwardSamples(const std::uint16_t (&to_linear)[256]) {
  Samples forward;
  for (std::int32_t j = 0; j < kSamples - 1; ++j) {
    const std::int32_t p = 8 * j * 255, i = p >> 15, f = p & 32767;
    forward[static_cast<std::size_t>(j)] = to_linear[i];
    if (f != 0) forward[static_cast<std::size_t>(j)] += (f * (to_linear[i + 1] - to_linear[i]) + 16384) >> 15;
  }
  forward[kSamples - 1] = to_linear[255];
  for (std::size_t j = 1; j < kSamples; ++j) forward[j] = std::max(forward[j], forward[j - 1]);
  return forward;
}

void FillFromLinear(const Samples& forward, std::uint16_t (&from_linear)[kSamples]) {
  std::size_t k = 0;
  for (std::int32_t m = 0; m < kSamples; ++m) {
    const std::int32_t y = 8 * m;
    while (k < kSamples - 2 && y >= forward[k + 1]) ++k;  // QUIRK-39
    const std::int32_t low = forward[k], high = forward[k + 1], start = 8 * static_cast<std::int32_t>(k);
    std::int32_t value = start;
    if (y >= high) {
      value = start + 8;
    } else if (y >= low) {
      value = start + ((high - low) / 2 + (y - low) * 8) / (high - low);
    }
    from_linear[m] = static_cast<std::uint16_t>(value);
  }
}

}  // namespace
}  // namespace pf

boost::shared_ptr<PF_LinearBlendingTables> PF_MakeLinearizationTables(
    const boost::shared_ptr<COR_XCE_Profile>& profile) {
  const auto tables = boost::make_shared<PF_LinearBlendingTables>();
  pf::FillToLinear(profile.get(), tables->toLinear8);
  pf::FillFromLinear(pf::ForwardSamples(tables->toLinear8), tables->fromLinear16);
  tables->gamma = static_cast<float>(pf::GammasOf(profile.get()).green);
  tables->inverseGamma = 1.0f / tables->gamma;
  return tables;
}

COR_XCE_Transform PF_GetLinearizeTransform(const boost::shared_ptr<COR_XCE_Profile>& profile,
                                           const boost::shared_ptr<COR_XCE_Profile>& linear, bool to_linear) {
  const pf::ProfileRef other = linear != nullptr ? linear : pf::Linearized(profile.get());
  return (to_linear ? pf::NewTransform(profile.get(), other.get()) : pf::NewTransform(other.get(), profile.get()))
      .release();
}
