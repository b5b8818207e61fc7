// A picture laid onto a copy of another one by transfer modes, straight pixels with random alpha unless said.
#include <cmath>

#include "Bands.h"
#include "Host.h"
#include "PF/PF_ColorSettings.h"
#include "PF/PF_Compositing.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

const PF_LinearBlendingTables& Light() {
  static const boost::shared_ptr<PF_LinearBlendingTables> tables = PF_MakeLinearizationTables({});
  return *tables;
}

PF_Err LayBands(Picture& src, Picture& dst, const PF_TransferParams& params) {
  PF_Err error = 0;
  ForBands(*src.second, dst, [&](std::int32_t y, std::int32_t rows) {
    const M_LRect rect = {0, y, src.width(), y + rows};
    const M_LPoint at = {0, y};
    if (error == 0) error = PF_TransferRect(nullptr, &params, src.record(), &rect, dst.record(), &at);
  });
  return error;
}

template <std::int32_t kMode, bool kLinear>
PF_TransferParams Params() {
  return {kMode, 0, 1.0f, kLinear ? &Light() : nullptr, nullptr, {0, 0}};
}

template <std::int32_t kMode, bool kLinear>
PF_Err Own(Picture& src, Picture& dst) {
  const OnCallingThread own;
  return LayBands(src, dst, Params<kMode, kLinear>());
}
// The library shares rows out by itself, so the whole picture at once.
template <std::int32_t kMode, bool kLinear>
PF_Err Installed(Picture& src, Picture& dst) {
  const PF_TransferParams params = Params<kMode, kLinear>();
  {
    const Untimed copying;
    for (std::int32_t y = 0; y < dst.height(); ++y) std::memcpy(dst.row(y), src.second->row(y), dst.used_row_bytes());
  }
  return PF_TransferRect(nullptr, &params, src.record(), nullptr, dst.record(), nullptr);
}

// Opacity and an 8-bit mask: the source's own alpha once more.
PF_Err OwnMasked(Picture& src, Picture& dst) {
  const OnCallingThread own;
  static std::unique_ptr<PF_UnoBuffer> mask;
  if (mask == nullptr || mask->width != src.width() || mask->height != src.height()) {
    mask = std::make_unique<PF_UnoBuffer>(src.width(), src.height(), 8);
    for (std::int64_t i = 0; i < std::int64_t{src.width()} * src.height(); ++i) {
      static_cast<std::uint8_t*>(*mask->data)[i] = static_cast<std::uint8_t>(i * 7 % 251 + 2);
    }
  }
  return LayBands(src, dst, {PF_Xfer_Over, 0, 0.8f, nullptr, mask.get(), {0, 0}});
}

// Six tenths of the layer empty, three opaque, one in between, in runs of some length.
void MakeSparse(Picture& src, Picture&) {
  WithChannel(src.depth(), [&](auto zero) {
    using C = decltype(zero);
    for (std::int32_t y = 0; y < src.height(); ++y) {
      C* row = src.row<C>(y);
      for (std::int32_t x = 0; x < src.width(); ++x) {
        const std::int32_t place = (x + 37 * (y / 16)) % 640;
        if (place < 384) row[4 * x] = 0;
        if (place >= 384 && place < 576) row[4 * x] = static_cast<C>(FullValue(src.depth()));
      }
    }
  });
}

void NoPeers(const Task&, std::vector<Contender>&) {}

template <std::int32_t kMode, bool kLinear = false>
void Add(Size size, std::int32_t depth, const char* name, std::vector<Case>& cases) {
  cases.push_back({name, DepthName(depth), size, Work::kTransfer, false, depth, depth, size, size, &Own<kMode, kLinear>,
                   &Installed<kMode, kLinear>, true, &AddPeers, 2});
  cases.back().laying = {kMode, kLinear};
}

}  // namespace

void AddTransferCases(Size size, std::vector<Case>& cases) {
  for (const std::int32_t depth : {8, 16, 32}) {
    Add<PF_Xfer_Over>(size, depth, "lay over", cases);
    Add<PF_Xfer_Multiply>(size, depth, "lay multiply", cases);
    Add<PF_Xfer_Screen>(size, depth, "lay screen", cases);
    Add<PF_Xfer_HardLight>(size, depth, "lay hard light", cases);
    Add<PF_Xfer_Hsl13>(size, depth, "lay hue", cases);
    Add<PF_Xfer_Hsl14>(size, depth, "lay saturation", cases);
    Add<PF_Xfer_Hsl15>(size, depth, "lay colour", cases);
    Add<PF_Xfer_Hsl16>(size, depth, "lay luminosity", cases);
    Add<PF_Xfer_Over, true>(size, depth, "lay over, linear light", cases);
    Add<PF_Xfer_PremulOntoPremul>(size, depth, "lay premultiplied over", cases);
    cases.push_back({"lay over, opacity and mask", DepthName(depth), size, Work::kTransfer, false, depth, depth, size,
                     size, &OwnMasked, nullptr, true, &NoPeers, 2});
    cases.push_back({"lay over, mostly empty or opaque", DepthName(depth), size, Work::kTransfer, false, depth, depth,
                     size, size, &Own<PF_Xfer_Over, false>, nullptr, true, &NoPeers, 2, &MakeSparse});
  }
}

}  // namespace pfbench
