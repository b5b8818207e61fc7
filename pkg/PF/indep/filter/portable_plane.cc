// Blurs in whole numbers in plain C++.
#include <algorithm>
#include <cstdlib>

#include "PF/PF_Types.h"
#include "filter/Bell.h"
#include "filter/PlaneKernels.h"

namespace pf {
namespace {

// Values above full are legal bits; their mean is limited.
template <class T>
T MeanOf(std::uint32_t sum, const BoxDivider& divider) {
  const std::uint32_t mean = divider.MeanOf(sum);
  return static_cast<T>(sizeof(T) == 1 ? mean : std::min<std::uint32_t>(mean, PF_MAX_CHAN16));
}

void Start(std::uint32_t* sums, std::int64_t n, const BoxDivider&) { std::fill_n(sums, n, 0u); }

template <class T>
void AddRow(std::uint32_t* sums, const T* row, std::uint32_t times, std::int64_t n, const BoxDivider&) {
  for (std::int64_t x = 0; x < n; ++x) sums[x] += row[x] * times;
}

void Begin(std::uint32_t*, std::int64_t, const BoxDivider&) {}

template <class T>
void Slide(const BoxSlide<T>& slide, const BoxDivider& divider) {
  for (std::int64_t i = 0; i < slide.rows; ++i) {
    const auto& row = slide.row[i];
    for (std::int64_t x = 0; x < slide.n; ++x) {
      if (row.kept != nullptr) row.kept[x] = row.out[x];
      slide.sums[x] += row.entering[x] - std::uint32_t{row.leaving[x]};
      row.out[x] = MeanOf<T>(slide.sums[x], divider);
    }
  }
}

template <class T, std::size_t channels>
void Row(const BoxRow<T>& row, const BoxDivider& divider) {
  std::uint32_t sums[channels];
  std::copy_n(row.more, channels, sums);
  for (std::int64_t i = 0; i < row.n_first; ++i) sums[static_cast<std::size_t>(i) % channels] += row.first[i];
  T* out = row.out;
  for (const BoxPiece<T>& piece : row.pieces) {
    for (std::int64_t i = 0; i < piece.n; ++i) {
      std::uint32_t& sum = sums[static_cast<std::size_t>(i) % channels];
      sum += piece.entering[i] - std::uint32_t{piece.leaving[i]};
      *out++ = MeanOf<T>(sum, divider);
    }
  }
}

void Bell(const std::uint8_t* const* taps, const SplitWeights& weights, std::uint8_t* out, std::int64_t n,
          const RowsAhead&) {
  const std::int64_t reach = weights.reach;
  for (std::int64_t x = 0; x < n; ++x) {
    std::uint32_t sum = 1u << (kBellBits8 - 1);
    for (std::int64_t i = 0; i <= 2 * reach; ++i) {
      const std::int64_t w = std::abs(i - reach);
      sum += static_cast<std::uint32_t>(weights.high[w] * 4096 + weights.low[w]) * taps[i][x];
    }
    out[x] = static_cast<std::uint8_t>(sum >> kBellBits8);
  }
}

template <class T>
constexpr BoxKernels<T> kBoxes = {&Start, &AddRow<T>, &Begin, &Slide<T>, &Row<T, 1>, &Row<T, 4>};

}  // namespace

constinit const PlaneKernels kPortablePlaneKernels = {kBoxes<std::uint8_t>, kBoxes<std::uint16_t>, &Bell};

}  // namespace pf
