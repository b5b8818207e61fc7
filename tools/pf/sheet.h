/// \file
/// Contact sheets: layout, drawing and the page beside the picture.
#ifndef TOOLS_PF_SHEET_H
#define TOOLS_PF_SHEET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "picture.h"

namespace pftool {

/// Where things are on a sheet, in pixels.
struct SheetLayout {
  int columns = 4, cell_width = 320, cell_height = 240;
  bool has_title = false;
  std::size_t pictures = 0;

  int width() const;
  int height() const;
  /// Corner of cell `index`; its caption stands below it.
  int left(std::size_t index) const;
  int top(std::size_t index) const;
};

/// 8-bit RGB pixels, rows from top to bottom.
class Canvas {
 public:
  /// \throws Failure (64) when a side is above 30000.
  Canvas(int width, int height);

  int width() const { return width_; }
  int height() const { return height_; }
  const std::uint8_t* row(int y) const;
  /// Draws an 8-bit world over a checkerboard with its corner at (left, top); must lie inside.
  void DrawOverChecks(const PF_World& world, Alpha alpha, int left, int top);
  /// Draws one line of text, cut to `width` pixels, centred between left and left + width.
  /// \return false when no font could be used.
  bool DrawText(const std::string& text, int left, int baseline, int width, int size);

 private:
  std::uint8_t* at(int x, int y);

  int width_, height_;
  std::vector<std::uint8_t> rgb_;
};

/// One picture on the sheet.
struct SheetEntry {
  std::string name;     ///< file, as the user named it
  std::string caption;  ///< below the picture
  std::string facts;    ///< size and form, for the page
};

/// The HTML page that shows the sheet's parts, each a link to its picture. Links are relative to the page.
std::string SheetPage(const std::string& page_path, const std::string& sheet_path, const std::string& title,
                      const SheetLayout& layout, const std::vector<SheetEntry>& entries);

}  // namespace pftool

#endif
