/// \file
/// Lazy tiles: a buffer that is prepared tile by tile, and only where it is asked for.
///
/// Rules common to the family
/// - Rectangles are M_Rect, 16 bits, half open; extents are horizontal, then vertical.
/// - A tile is handed to the operator once. A request covers whole tiles; the operator is called once for
///   each maximal run of tiles in one tile row that were not valid yet, rows from top to bottom and runs
///   from left to right. Tiles are marked valid before the operator works and stay so when it fails.
/// - Members throw PF_Error: what the operator throws passes through unchanged.
/// - An object is used by one thread at a time.
#ifndef PF_LAZY_TILES_H
#define PF_LAZY_TILES_H

#include <boost/scoped_ptr.hpp>
#include <cstdint>
#include <vector>

#include "PF/PF_Export.h"
#include "PF/PF_Masks.h"
#include "PF/PF_Types.h"
#include "host/M.h"

/// Work that can be done one rectangle at a time.
class PF_EXPORT PF_LazyOperator {
 public:
  PF_LazyOperator();
  PF_LazyOperator(const PF_LazyOperator&);
  PF_LazyOperator& operator=(const PF_LazyOperator&);
  /// Size of what can be prepared, in pixels. Asked anew at each request. When it grows, what a tile at the old
  /// border did not cover stays unprepared, for the tile is valid.
  virtual M_Vector2T<std::int16_t> GetExtent() const = 0;
  virtual ~PF_LazyOperator();
  /// Prepares one rectangle, which lies inside the extent.
  virtual void DoItImp(const M_Rect& rect) = 0;
  /// Calls DoItImp.
  void DoIt(M_Rect rect) { DoItImp(rect); }
};

/// Copies a source world into a destination world, at the same place. The extent is the destination's size.
/// Both records are kept by value; the pixels belong to the caller and must outlive the operator.
class PF_EXPORT PF_LazyWorldCopyOperator : public PF_LazyOperator {
 public:
  /// \param dst, src worlds of one depth. Throws 516, reported, when one is null.
  PF_LazyWorldCopyOperator(PF_LayerDef* dst, PF_LayerDef* src);
  PF_LazyWorldCopyOperator(const PF_LazyWorldCopyOperator&);
  PF_LazyWorldCopyOperator& operator=(const PF_LazyWorldCopyOperator&);
  ~PF_LazyWorldCopyOperator() override;
  M_Vector2T<std::int16_t> GetExtent() const override;
  /// Where the source is smaller, only what exists is copied. Throws 3 after a report for unequal depths
  /// and for worlds without pixels.
  void DoItImp(const M_Rect& rect) override;
  /// Tiles that are valid already keep what they have. Throws 516, reported, for null.
  void SetSourceWorld(PF_LayerDef* src);

 private:
  PF_LayerDef dst_;
  PF_LayerDef src_;
};

/// Fills a mask with one value. The extent is the mask's size.
class PF_EXPORT PF_LazyFillUnoBufferOperator : public PF_LazyOperator {
 public:
  /// \param mask made with `new`; it is taken over and the pointer given becomes null. Throws 516, reported, for
  ///   an empty one.
  /// \param value for a 16-bit mask; its low byte for an 8-bit one. Masks of other depths are refused by the fill.
  PF_LazyFillUnoBufferOperator(boost::scoped_ptr<PF_UnoBuffer>* mask, std::uint16_t value);
  ~PF_LazyFillUnoBufferOperator() override;
  /// Still owned by the operator.
  PF_UnoBuffer* GetBuffer() const;
  M_Vector2T<std::int16_t> GetExtent() const override;
  /// Throws the code of the fill.
  void DoItImp(const M_Rect& rect) override;

 private:
  boost::scoped_ptr<PF_UnoBuffer> mask_;
  std::uint16_t value_;
};

/// One bit row per tile row, one bit per tile column; a set bit means that the tile is valid.
using PF_TileBitmap = std::vector<std::vector<bool>>;

/// Prepares what the operator makes where it is asked for. The bitmap is sized at construction; tiles of an
/// extent that grew later are never asked for.
class PF_EXPORT PF_LazyTiles {
 public:
  /// All tiles are invalid.
  /// \param tile_size pixels in both directions. \param op is taken over; the pointer given becomes null.
  /// Throws 516, reported, for a tile size below 1 or an empty operator, which is then not taken.
  PF_LazyTiles(std::int16_t tile_size, boost::scoped_ptr<PF_LazyOperator>* op);
  ~PF_LazyTiles();
  PF_LazyTiles(const PF_LazyTiles&) = delete;
  PF_LazyTiles& operator=(const PF_LazyTiles&) = delete;

  /// Makes every tile that `rect` + offset touches valid. The sums wrap in 16 bits.
  void MakeValid(const M_Rect& rect);
  /// What is added to requested rectangles to get the operator's coordinates; zero at construction.
  void SetOffset(M_Vector2T<std::int16_t> offset) { offset_ = offset; }
  M_Vector2T<std::int16_t> GetOffset() const { return offset_; }
  /// Still owned by this object.
  PF_LazyOperator* GetOperator() const { return operator_.get(); }

 private:
  boost::scoped_ptr<PF_LazyOperator> operator_;
  std::int16_t tile_size_;
  PF_TileBitmap valid_;
  M_Vector2T<std::int16_t> offset_;
};

/// Lazy tiles that can be switched off. No offset.
class PF_EXPORT PF_LazyTilesCondition {
 public:
  /// As PF_LazyTiles.
  PF_LazyTilesCondition(std::int16_t tile_size, boost::scoped_ptr<PF_LazyOperator>* op, bool condition);
  ~PF_LazyTilesCondition();
  PF_LazyTilesCondition(const PF_LazyTilesCondition&) = delete;
  PF_LazyTilesCondition& operator=(const PF_LazyTilesCondition&) = delete;

  /// PF_LazyTiles::MakeValid without an offset when the condition holds, else nothing.
  void ConditionalMakeValid(const M_Rect& rect);
  void SetCondition(bool condition) { condition_ = condition; }

 private:
  boost::scoped_ptr<PF_LazyOperator> operator_;
  std::int16_t tile_size_;
  PF_TileBitmap valid_;
  bool condition_;
};

#endif
