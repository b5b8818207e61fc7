// The exported tables of per-pixel functions. Each function is a row of one pixel.
#include "PF/PF_TransferModes.h"
#include "transfer/PlainTransfer.h"
#include "transfer/TransferRow.h"

namespace pf {
namespace {

using namespace plain;

template <class P>
struct PortableOf;
template <>
struct PortableOf<PF_Pixel8> {
  static constexpr RowKernels<PF_Pixel8> kRow = {&kPortableTransferKernels8, &kPortableTransferKernels16,
                                                 &kPortableLinearLightKernels.of8};
};
template <>
struct PortableOf<PF_Pixel16> {
  static constexpr RowKernels<PF_Pixel16> kRow = {&kPortableTransferKernels16, &kPortableTransferKernels16,
                                                  &kPortableLinearLightKernels.of16};
};
template <>
struct PortableOf<PF_PixelFloat> {
  static constexpr RowKernels<PF_PixelFloat> kRow = {&kPortableTransferKernelsFloat, &kPortableTransferKernelsFloat,
                                                     &kPortableLinearLightKernels.of_float};
};

template <class Which, class P>
void TransferOne(const P* s, const PF_LinearBlendingTables* lin, ChannelOf<P> opacity, const ChannelOf<P>* opacity2,
                 P* d) {
  const TransferJob<P> job = {s, d, opacity2, opacity, false, 1};
  if (lin == nullptr) return TransferPixels<Which>(job);
  TransferLinearRun(PortableOf<P>::kRow, *lin, Which::kRow.number, job);
}

template <class Which, class P>
void Plain(const P* s, const PF_LinearBlendingTables* lin, P* d) {
  TransferOne<Which>(s, lin, DepthTraits<P>::kFull, nullptr, d);
}
template <class Which, class P>
void Opacity(const P* s, const PF_LinearBlendingTables* lin, ChannelOf<P> opacity, P* d) {
  TransferOne<Which>(s, lin, opacity, nullptr, d);
}
template <class Which, class P>
void Opacity2(const P* s, const PF_LinearBlendingTables* lin, ChannelOf<P> opacity1, ChannelOf<P> opacity2, P* d) {
  TransferOne<Which>(s, lin, opacity1, &opacity2, d);
}

// What stands behind the modes stays null.
template <class P, class... M>
constexpr auto PlainTable(ModeList<M...>) {
  return std::array<decltype(&Plain<OverMode, P>), PF_Xfer1_TABLE_SIZE>{&Plain<M, P>...};
}
template <class P, class... M>
constexpr auto OpacityTable(ModeList<M...>) {
  return std::array<decltype(&Opacity<OverMode, P>), PF_Xfer1_TABLE_SIZE>{&Opacity<M, P>...};
}
template <class P, class... M>
constexpr auto Opacity2Table(ModeList<M...>) {
  return std::array<decltype(&Opacity2<OverMode, P>), PF_Xfer1_TABLE_SIZE>{&Opacity2<M, P>...};
}

using Modes = TableModes;

}  // namespace
}  // namespace pf

constinit const std::array<PF_Xfer1_Func8, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_table8 =
    pf::PlainTable<PF_Pixel8>(pf::Modes());
constinit const std::array<PF_Xfer1_Func16, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_table16 =
    pf::PlainTable<PF_Pixel16>(pf::Modes());
constinit const std::array<PF_Xfer1_FuncF, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_tableF =
    pf::PlainTable<PF_PixelFloat>(pf::Modes());
constinit const std::array<PF_Xfer1_Opacity_Func8, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity_table8 =
    pf::OpacityTable<PF_Pixel8>(pf::Modes());
constinit const std::array<PF_Xfer1_Opacity_Func16, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity_table16 =
    pf::OpacityTable<PF_Pixel16>(pf::Modes());
constinit const std::array<PF_Xfer1_Opacity_FuncF, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity_tableF =
    pf::OpacityTable<PF_PixelFloat>(pf::Modes());
constinit const std::array<PF_Xfer1_Opacity2_Func8, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity2_table8 =
    pf::Opacity2Table<PF_Pixel8>(pf::Modes());
constinit const std::array<PF_Xfer1_Opacity2_Func16, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity2_table16 =
    pf::Opacity2Table<PF_Pixel16>(pf::Modes());
constinit const std::array<PF_Xfer1_Opacity2_FuncF, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity2_tableF =
    pf::Opacity2Table<PF_PixelFloat>(pf::Modes());

constinit const PF_OverFuncs PFp_G_OverFuncs = {
    &pf::Plain<pf::OverMode, PF_Pixel8>, &pf::Plain<pf::OverMode, PF_Pixel16>, &pf::Plain<pf::OverMode, PF_PixelFloat>};

// QUIRK-44: no bounds are checked; the null entries behind the modes are the only help.
namespace {
template <class Table>
auto Entry(const Table& table, std::int32_t mode) {
  return table.data()[mode];
}
}  // namespace

PF_Xfer1_Func8 PF_Get_Xfer1_table8(std::int32_t mode) { return Entry(PFp_G_Xfer1_table8, mode); }
PF_Xfer1_Func16 PF_Get_Xfer1_table16(std::int32_t mode) { return Entry(PFp_G_Xfer1_table16, mode); }
PF_Xfer1_FuncF PF_Get_Xfer1_tableF(std::int32_t mode) { return Entry(PFp_G_Xfer1_tableF, mode); }
PF_Xfer1_Opacity_Func8 PF_Get_Xfer1_Opacity_table8(std::int32_t mode) {
  return Entry(PFp_G_Xfer1_Opacity_table8, mode);
}
PF_Xfer1_Opacity_Func16 PF_Get_Xfer1_Opacity_table16(std::int32_t mode) {
  return Entry(PFp_G_Xfer1_Opacity_table16, mode);
}
PF_Xfer1_Opacity_FuncF PF_Get_Xfer1_Opacity_tableF(std::int32_t mode) {
  return Entry(PFp_G_Xfer1_Opacity_tableF, mode);
}
PF_Xfer1_Opacity2_Func8 PF_Get_Xfer1_Opacity2_table8(std::int32_t mode) {
  return Entry(PFp_G_Xfer1_Opacity2_table8, mode);
}
PF_Xfer1_Opacity2_Func16 PF_Get_Xfer1_Opacity2_table16(std::int32_t mode) {
  return Entry(PFp_G_Xfer1_Opacity2_table16, mode);
}
PF_Xfer1_Opacity2_FuncF PF_Get_Xfer1_Opacity2_tableF(std::int32_t mode) {
  return Entry(PFp_G_Xfer1_Opacity2_tableF, mode);
}

std::int32_t PF_GetTransferFlags(std::int32_t mode) {
  return pf::IsPipelineMode(mode) ? pf::TraitsOf(mode).row.flag : 0;
}

const char* PF_GetTransferModeName(std::int32_t mode) {
  return pf::IsPipelineMode(mode) ? pf::TraitsOf(mode).row.name : nullptr;
}
