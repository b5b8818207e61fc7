#include "PairMotion.h"

#include <algorithm>
#include <initializer_list>

#include "host/U.h"
#include "report/Report.h"

namespace pf {
namespace {

constexpr std::uint64_t kBytesOfPlace = 2 * (2 * sizeof(std::int16_t) + 2 * sizeof(std::uint8_t));

}  // namespace

PairMotion::PairMotion(std::int32_t w, std::int32_t h) : width(w), height(h), block_(U_AllocatePtr(Bytes(), nullptr)) {
  if (block_ == nullptr) ThrowOutOfMemory();
  const std::size_t places = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  auto* words = static_cast<std::int16_t*>(block_);
  for (MotionField* field : {&forward, &backward}) {
    field->u = words;
    field->v = words + places;
    words += 2 * places;
  }
  auto* bytes = reinterpret_cast<std::uint8_t*>(words);
  for (MotionField* field : {&forward, &backward}) {
    field->hidden = bytes;
    field->doubt = bytes + places;
    bytes += 2 * places;
  }
}

PairMotion::~PairMotion() {
  U_FreePtr(thin_block_);
  U_FreePtr(block_);
}

void PairMotion::KeepThin(const ThinPoint* previous, std::int32_t previous_count, const ThinPoint* next,
                          std::int32_t next_count) {
  const std::int64_t count = std::int64_t{previous_count} + next_count;
  if (count == 0) return;
  thin_block_ = U_AllocatePtr(static_cast<std::uint64_t>(count) * sizeof(ThinPoint), nullptr);
  if (thin_block_ == nullptr) ThrowOutOfMemory();
  auto* points = static_cast<ThinPoint*>(thin_block_);
  std::copy_n(previous, previous_count, points);
  std::copy_n(next, next_count, points + previous_count);
  thin = points;
  thin_previous = previous_count;
  thin_next = next_count;
}

std::uint64_t PairMotion::Bytes() const {
  return kBytesOfPlace * static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) +
         (static_cast<std::uint64_t>(thin_previous) + static_cast<std::uint64_t>(thin_next)) * sizeof(ThinPoint);
}

}  // namespace pf
