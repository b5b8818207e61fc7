#include "PF/PF_LazyTiles.h"
#include "tiles/Tiles.h"

namespace {

// The request is moved in 16-bit arithmetic, which wraps.
std::int32_t Moved(std::int16_t v, std::int16_t by) { return static_cast<std::int16_t>(v + by); }

}  // namespace

PF_LazyTiles::PF_LazyTiles(std::int16_t tile_size, boost::scoped_ptr<PF_LazyOperator>* op)
    : tile_size_(tile_size), offset_{0, 0} {
  pf::CheckTiles(tile_size, op);
  valid_ = pf::InvalidTiles(tile_size, **op);
  operator_.swap(*op);
}

PF_LazyTiles::~PF_LazyTiles() = default;

void PF_LazyTiles::MakeValid(const M_Rect& rect) {
  pf::MakeTilesValid(*operator_, tile_size_, valid_,
                     {Moved(rect.left, offset_.h), Moved(rect.top, offset_.v), Moved(rect.right, offset_.h),
                      Moved(rect.bottom, offset_.v)});
}

PF_LazyTilesCondition::PF_LazyTilesCondition(std::int16_t tile_size, boost::scoped_ptr<PF_LazyOperator>* op,
                                             bool condition)
    : tile_size_(tile_size), condition_(condition) {
  pf::CheckTiles(tile_size, op);
  valid_ = pf::InvalidTiles(tile_size, **op);
  operator_.swap(*op);
}

PF_LazyTilesCondition::~PF_LazyTilesCondition() = default;

void PF_LazyTilesCondition::ConditionalMakeValid(const M_Rect& rect) {
  if (!condition_) return;
  pf::MakeTilesValid(*operator_, tile_size_, valid_, {rect.left, rect.top, rect.right, rect.bottom});
}
