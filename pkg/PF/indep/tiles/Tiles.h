// What both kinds of lazy tiles do.
#pragma once

#include <cstdint>

#include "PF/PF_LazyTiles.h"

namespace pf {

// A request in the operator's coordinates.
struct TileRequest {
  std::int32_t left, top, right, bottom;
};

// Throws 516, reported, when there is no operator or the size is below 1.
void CheckTiles(std::int16_t tile_size, const boost::scoped_ptr<PF_LazyOperator>* op);

// All tiles of an extent, invalid.
PF_TileBitmap InvalidTiles(std::int16_t tile_size, const PF_LazyOperator& op);

// Has the operator prepare what the request touches and is not valid yet.
void MakeTilesValid(PF_LazyOperator& op, std::int32_t tile_size, PF_TileBitmap& valid, TileRequest request);

}  // namespace pf
