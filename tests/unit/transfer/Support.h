// The tables by pixel type, and pixels that modes find difficult.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "PF/PF_TransferModes.h"
#include "reference/TransferModes.h"
#include "support/Worlds.h"

namespace pftest {

template <class P>
struct TransferTables;
template <>
struct TransferTables<PF_Pixel8> {
  static constexpr auto plain = PF_Get_Xfer1_table8;
  static constexpr auto opacity = PF_Get_Xfer1_Opacity_table8;
  static constexpr auto opacity2 = PF_Get_Xfer1_Opacity2_table8;
};
template <>
struct TransferTables<PF_Pixel16> {
  static constexpr auto plain = PF_Get_Xfer1_table16;
  static constexpr auto opacity = PF_Get_Xfer1_Opacity_table16;
  static constexpr auto opacity2 = PF_Get_Xfer1_Opacity2_table16;
};
template <>
struct TransferTables<PF_PixelFloat> {
  static constexpr auto plain = PF_Get_Xfer1_tableF;
  static constexpr auto opacity = PF_Get_Xfer1_Opacity_tableF;
  static constexpr auto opacity2 = PF_Get_Xfer1_Opacity2_tableF;
};

template <class P>
constexpr pf::ChannelOf<P> kFull = pf::DepthTraits<P>::kFull;

template <class P>
P Transferred(int mode, P s, P d, const PF_LinearBlendingTables* lin = nullptr) {
  TransferTables<P>::plain(mode)(&s, lin, &d);
  return d;
}

template <class P>
bool SameBits(const P& a, const P& b) {
  return std::memcmp(&a, &b, sizeof(P)) == 0;
}

template <class P>
std::string TextOf(const P& p) {
  std::ostringstream out;
  out.precision(9);
  out << '(' << +p.alpha << ' ' << +p.red << ' ' << +p.green << ' ' << +p.blue << ')';
  return out.str();
}

// A channel: an edge, close to one, or any.
template <class P>
pf::ChannelOf<P> EdgeOrAny(Random& random) {
  if constexpr (kIsFloatPixel<P>) {
    constexpr float kEdges[] = {0.0f, 1.0f, 0.5f, 0x1.fffffep-1f, 0x1p-15f, 0x1p-24f, 1e-30f};
    return random() % 2 == 0 ? kEdges[random() % std::size(kEdges)] : static_cast<float>(random() % 4097) / 4096;
  } else {
    constexpr auto kHalf = static_cast<pf::ChannelOf<P>>((kFull<P> + 1) / 2);
    const int edges[] = {0, 1, 2, kHalf - 1, kHalf, kHalf + 1, kFull<P> - 1, kFull<P>};
    const bool edge = random() % 2 == 0;
    return static_cast<pf::ChannelOf<P>>(edge ? edges[random() % std::size(edges)] : Between(random, 0, kFull<P>));
  }
}
template <class P>
pf::ChannelOf<P> AnyColour(Random& random) {
  if constexpr (kIsFloatPixel<P>) {
    constexpr float kEdges[] = {0.0f, 1.0f, 0.5f, 0.25f, -0.5f, 1.5f, 3.0f};
    return random() % 3 == 0 ? kEdges[random() % std::size(kEdges)] : static_cast<float>(random() % 4097) / 4096;
  } else {
    return EdgeOrAny<P>(random);
  }
}

template <class P>
P AnyPixel(Random& random) {
  P p = {EdgeOrAny<P>(random), AnyColour<P>(random), AnyColour<P>(random), AnyColour<P>(random)};
  if (random() % 8 == 0) p.green = p.blue = p.red;
  return p;
}

// Any bits.
template <class P>
P RawPixel(Random& random) {
  const std::uint64_t bits[] = {random(), random()};
  P p;
  std::memcpy(&p, bits, sizeof p);
  return p;
}

// Pairs alike in all, in colour, in luminance, or in nothing.
template <class P>
void AnyPair(Random& random, P& s, P& d) {
  s = AnyPixel<P>(random);
  d = AnyPixel<P>(random);
  const auto alike = random() % 8;
  if (alike == 0) d = s;
  if (alike == 1) d = {d.alpha, s.red, s.green, s.blue};
  if constexpr (!kIsFloatPixel<P>) {
    // 299 * 15 - 587 * 9 + 114 * 7 = 0.
    const auto lift = [&](auto c, int by) {
      return static_cast<pf::ChannelOf<P>>(alike == 2 ? std::clamp(c + by, 0, int{kFull<P>}) : c);
    };
    if (alike == 2) d = {d.alpha, lift(s.red, 15), lift(s.green, -9), lift(s.blue, 7)};
  }
}

}  // namespace pftest
