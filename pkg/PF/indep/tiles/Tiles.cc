#include "tiles/Tiles.h"

#include <algorithm>
#include <cstddef>

#include "report/Report.h"

namespace pf {
namespace {

std::size_t TileCount(std::int32_t extent, std::int32_t tile_size) {
  return extent <= 0 ? 0 : static_cast<std::size_t>((extent + tile_size - 1) / tile_size);
}

// Tiles are counted in 32 bits; every edge ends within the extent, which has 16.
M_Rect RunRect(std::size_t row, std::size_t first, std::size_t end, std::int32_t tile_size,
               M_Vector2T<std::int16_t> extent) {
  const auto edge = [&](std::size_t tile, std::int16_t limit) {
    return static_cast<std::int16_t>(std::min<std::int32_t>(static_cast<std::int32_t>(tile) * tile_size, limit));
  };
  M_Rect rect = {};
  rect.top = edge(row, extent.v);
  rect.left = edge(first, extent.h);
  rect.bottom = edge(row + 1, extent.v);
  rect.right = edge(end, extent.h);
  return rect;
}

}  // namespace

void CheckTiles(std::int16_t tile_size, const boost::scoped_ptr<PF_LazyOperator>* op) {
  if (tile_size >= 1 && op != nullptr && *op) return;
  ReportCaller(Site::kTiles, Message::kBadCallbackParameter);
  ThrowCode(PF_Err_BAD_PARAMETER);
}

PF_TileBitmap InvalidTiles(std::int16_t tile_size, const PF_LazyOperator& op) {
  const M_Vector2T<std::int16_t> extent = op.GetExtent();
  return PF_TileBitmap(TileCount(extent.v, tile_size), std::vector<bool>(TileCount(extent.h, tile_size)));
}

void MakeTilesValid(PF_LazyOperator& op, std::int32_t tile_size, PF_TileBitmap& valid, TileRequest request) {
  const M_Vector2T<std::int16_t> extent = op.GetExtent();
  const std::int32_t left = std::max(request.left, 0), right = std::min<std::int32_t>(request.right, extent.h);
  const std::int32_t top = std::max(request.top, 0), bottom = std::min<std::int32_t>(request.bottom, extent.v);
  if (right <= left || bottom <= top) return;
  const std::size_t last_row = std::min(TileCount(bottom, tile_size), valid.size());
  for (auto row = static_cast<std::size_t>(top / tile_size); row < last_row; ++row) {
    std::vector<bool>& tiles = valid[row];
    const std::size_t end = std::min(TileCount(right, tile_size), tiles.size());
    for (auto tile = static_cast<std::size_t>(left / tile_size); tile < end; ++tile) {
      if (tiles[tile]) continue;
      const std::size_t first = tile;
      for (; tile < end && !tiles[tile]; ++tile) tiles[tile] = true;
      op.DoIt(RunRect(row, first, tile, tile_size, extent));
    }
  }
}

}  // namespace pf
