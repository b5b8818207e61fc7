// The transfer kernels in plain C++.
#include "transfer/PlainTransfer.h"

namespace pf {
namespace {

using namespace plain;

template <class P, class... Few, class... Many>
constexpr TransferKernels<P> KernelsOf(ModeList<Few...>, ModeList<Many...>) {
  return {{&TransferPixels<Few, P>..., nullptr, &TransferPixels<Many, P>...}};
}

template <class... Few, class... Many>
constexpr bool StandInOrder(ModeList<Few...>, ModeList<Many...>) {
  const std::int32_t numbers[] = {Few::kRow.number..., -1, Many::kRow.number...};
  for (std::int32_t i = 0; i < kPipelineModes; ++i) {
    if (numbers[i] != i + kFirstPipelineMode) return false;
  }
  return sizeof numbers / sizeof *numbers == kPipelineModes;
}
static_assert(StandInOrder(PipelineModes(), TableModes()), "a mode's place in its list is its number");

template <class M>
constexpr TransferTraits TraitsOfMode() {
  return {M::kRow, M::kCopies, M::kScalesColour, M::kMatte};
}

struct TraitsTable {
  TransferTraits mode[kPipelineModes];
};

template <class... Few, class... Many>
constexpr TraitsTable TraitsOfModes(ModeList<Few...>, ModeList<Many...>) {
  return {{TraitsOfMode<Few>()..., TransferTraits{{-1, nullptr, 0}, false, false, false}, TraitsOfMode<Many>()...}};
}

constexpr TraitsTable kTraits = TraitsOfModes(PipelineModes(), TableModes());

}  // namespace

const TransferTraits& TraitsOf(std::int32_t mode) { return kTraits.mode[mode - kFirstPipelineMode]; }

constinit const TransferKernels<PF_Pixel8> kPortableTransferKernels8 =
    KernelsOf<PF_Pixel8>(PipelineModes(), TableModes());
constinit const TransferKernels<PF_Pixel16> kPortableTransferKernels16 =
    KernelsOf<PF_Pixel16>(PipelineModes(), TableModes());
constinit const TransferKernels<PF_PixelFloat> kPortableTransferKernelsFloat =
    KernelsOf<PF_PixelFloat>(PipelineModes(), TableModes());

}  // namespace pf
