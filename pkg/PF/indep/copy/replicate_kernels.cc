// Vector forms of the rows of 8- and 16-bit pixels. A float pixel fills a 128-bit register as it is, so
// its rows stay with the portable ones.
#include <algorithm>

#include "PF/PF_Types.h"
#include "copy/ReplicateKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "copy/replicate_kernels.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace pf::HWY_NAMESPACE {
// Other kernels share the target's namespace.
namespace {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

ReplicateKernels MakeReplicateKernels() { return kPortableReplicateKernels; }

#else

// One lane per pixel.
template <class P>
using LaneOf = hwy::UnsignedFromSize<sizeof(P)>;

// Does the rest of a row, from destination pixel k on, with the portable kernel.
template <class P>
void Finish(const P* in, P* out, const ColumnMap& map, std::int64_t k, std::int64_t source) {
  const ColumnMap rest = {map.kind, map.index != nullptr ? map.index + k : nullptr, map.n - k, map.readable - source};
  kPortableReplicateKernels.row[map.kind][sizeof(P) / 8](in + source, out + k, rest);
}

template <class P>
void Twice(const void* in, void* out, const ColumnMap& map) {
  const hn::ScalableTag<LaneOf<P> > d;
  const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const auto* from = static_cast<const LaneOf<P>*>(in);
  auto* to = static_cast<LaneOf<P>*>(out);
  std::int64_t k = 0;
  for (; k + 2 * lanes <= map.n; k += 2 * lanes) {
    const auto v = hn::LoadU(d, from + k / 2);
    hn::StoreInterleaved2(v, v, d, to + k);
  }
  Finish(static_cast<const P*>(in), static_cast<P*>(out), map, k, k / 2);
}

template <class P>
void Odd(const void* in, void* out, const ColumnMap& map) {
  const hn::ScalableTag<LaneOf<P> > d;
  const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const auto* from = static_cast<const LaneOf<P>*>(in);
  auto* to = static_cast<LaneOf<P>*>(out);
  std::int64_t k = 0;
  for (; k + lanes <= map.n; k += lanes) {
    const auto low = hn::LoadU(d, from + 2 * k);
    hn::StoreU(hn::ConcatOdd(d, hn::LoadU(d, from + 2 * k + lanes), low), d, to + k);
  }
  Finish(static_cast<const P*>(in), static_cast<P*>(out), map, k, 2 * k);
}

// Loads the indices of as many pixels as d has lanes, in lanes as wide as the pixels.
template <class D>
hn::VFromD<hn::RebindToSigned<D> > LoadIndices(D d, const std::int32_t* index) {
  const hn::RebindToSigned<D> di;
  if constexpr (sizeof(hn::TFromD<D>) == 4) {
    return hn::LoadU(di, index);
  } else {
    return hn::PromoteTo(di, hn::LoadU(hn::Rebind<std::int32_t, decltype(di)>(), index));
  }
}

// The source pixels of one output vector lie within one source vector, because the index rises by at
// most 1 per pixel.
template <class P>
void Rise(const void* in, void* out, const ColumnMap& map) {
  const hn::ScalableTag<LaneOf<P> > d;
  const hn::RebindToSigned<decltype(d)> di;
  const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const auto* from = static_cast<const LaneOf<P>*>(in);
  auto* to = static_cast<LaneOf<P>*>(out);
  const auto last = static_cast<std::int32_t>(map.readable - lanes);
  std::int64_t k = 0;
  for (; k + lanes <= map.n && last >= 0; k += lanes) {
    const std::int32_t first = std::min(map.index[k], last);
    const auto index = hn::Sub(LoadIndices(d, map.index + k), hn::Set(di, first));
    hn::StoreU(hn::TableLookupLanes(hn::LoadU(d, from + first), hn::IndicesFromVec(d, index)), d, to + k);
  }
  Finish(static_cast<const P*>(in), static_cast<P*>(out), map, k, 0);
}

// Up to 2 : 1 the source pixels of one output vector lie within two source vectors. (16-bit pixels gain
// nothing from it.)
template <class P>
void Fall(const void* in, void* out, const ColumnMap& map) {
  const hn::ScalableTag<LaneOf<P> > d;
  const hn::RebindToSigned<decltype(d)> di;
  const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const auto* from = static_cast<const LaneOf<P>*>(in);
  auto* to = static_cast<LaneOf<P>*>(out);
  const auto wrap = hn::Set(di, static_cast<hn::TFromD<decltype(di)> >(lanes - 1));
  std::int64_t k = 0;
  for (; k + lanes <= map.n && map.index[k] + 2 * lanes <= map.readable; k += lanes) {
    const std::int32_t first = map.index[k];
    if (map.index[k + lanes - 1] - first >= 2 * lanes) break;
    const auto index = hn::Sub(LoadIndices(d, map.index + k), hn::Set(di, first));
    const auto lookup = hn::IndicesFromVec(d, hn::And(index, wrap));
    const auto near = hn::TableLookupLanes(hn::LoadU(d, from + first), lookup);
    const auto far = hn::TableLookupLanes(hn::LoadU(d, from + first + lanes), lookup);
    hn::StoreU(hn::IfThenElse(hn::RebindMask(d, hn::Gt(index, wrap)), far, near), d, to + k);
  }
  Finish(static_cast<const P*>(in), static_cast<P*>(out), map, k, 0);
}

void ReverseBytes(void* pixels, std::int64_t n) {
  const hn::ScalableTag<std::uint8_t> d;
  const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
  auto* bytes = static_cast<std::uint8_t*>(pixels);
  HWY_ALIGN static constexpr std::uint8_t kOrder[16] = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};
  const auto order = hn::LoadDup128(d, kOrder);
  std::int64_t i = 0;
  for (; i + lanes <= 4 * n; i += lanes) {
    hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, bytes + i), order), d, bytes + i);
  }
  kPortableReplicateKernels.reverse_bytes(bytes + i, n - i / 4);
}

ReplicateKernels MakeReplicateKernels() {
  ReplicateKernels kernels = kPortableReplicateKernels;
  kernels.row[kColumns_TWICE][0] = Twice<PF_Pixel8>;
  kernels.row[kColumns_TWICE][1] = Twice<PF_Pixel16>;
  kernels.row[kColumns_ODD][0] = Odd<PF_Pixel8>;
  kernels.row[kColumns_ODD][1] = Odd<PF_Pixel16>;
  kernels.row[kColumns_RISE][0] = Rise<PF_Pixel8>;
  kernels.row[kColumns_RISE][1] = Rise<PF_Pixel16>;
  kernels.row[kColumns_FALL][0] = Fall<PF_Pixel8>;
  kernels.reverse_bytes = ReverseBytes;
  return kernels;
}

#endif

}  // namespace

const ReplicateKernels& GetReplicateKernels() {
  static const ReplicateKernels kernels = MakeReplicateKernels();
  return kernels;
}

}  // namespace pf::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(GetReplicateKernels);

const ReplicateKernels& VectorReplicateKernels() { return HWY_DYNAMIC_DISPATCH(GetReplicateKernels)(); }

}  // namespace pf
#endif
