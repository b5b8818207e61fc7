// What the exports of one family have in common: null arguments, and the straight colour of premultiplied pixels.
#pragma once

#include "PF/PF_ColorSpaces.h"
#include "colorspace/Colour.h"

namespace pf {

inline PF_Pixel8 StraightPixel(const PF_Pixel8& p) {
  const auto straight = [row = p.alpha * std::size_t{256}](std::size_t c) { return PFp_G_fcd_table[row + c]; };
  return {p.alpha, straight(p.red), straight(p.green), straight(p.blue)};
}

template <class P, class Out, class F>
PF_Err FromPixel(const P* pixel, Out* out, F of) {
  if (pixel != nullptr && out != nullptr) *out = of(*pixel);
  return PF_Err_NONE;
}

template <class Out, class F>
PF_Err FromPremul(const PF_Pixel8* pixel, Out* out, F of) {
  if (pixel != nullptr && out != nullptr) *out = of(StraightPixel(*pixel));
  return PF_Err_NONE;
}

// QUIRK-38: for premultiplied pixels too. `of` gives colour on the scale that it is told.
template <class P, class Triple, class F>
PF_Err IntoPixel(const Triple* triple, P* pixel, F of) {
  if (triple != nullptr && pixel != nullptr) StoreColour(*pixel, of(*triple, kFullScale<P>));
  return PF_Err_NONE;
}

}  // namespace pf
