#include "PF/PF_ColorSpaces.h"
#include "pixel/Scale.h"

namespace {

template <class F>
constexpr std::array<std::uint8_t, 65536> ByAlphaAndChannel(F f) {
  std::array<std::uint8_t, 65536> table{};
  for (std::uint32_t alpha = 0; alpha < 256; ++alpha) {
    for (std::uint32_t channel = 0; channel < 256; ++channel) table[alpha * 256 + channel] = f(channel, alpha);
  }
  return table;
}

}  // namespace

constexpr std::array<std::uint8_t, 65536> PFp_G_fcd_table = ByAlphaAndChannel([](std::uint32_t c, std::uint32_t alpha) {
  return alpha == 0 ? std::uint8_t{0} : pf::DivideByAlpha<PF_Pixel8>(c, alpha);
});

constexpr std::array<std::uint8_t, 65536> PFp_G_fcm_table = ByAlphaAndChannel(pf::MulDiv255);
