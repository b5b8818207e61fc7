#include "sheet.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "failure.h"

namespace pftool {
namespace {

constexpr int kGap = 16, kCaption = 26, kTitle = 48, kCheck = 8;
constexpr std::uint8_t kBackground = 34, kDark = 102, kLight = 153, kInk = 225;
constexpr const char* kFont = "DejaVuSans";

int TextWidth(const std::string& text, int size) {
  const OIIO::ROI box = OIIO::ImageBufAlgo::text_size(text, size, kFont);
  return box.defined() ? box.width() : 0;
}

/// UTF-8 as the text drawing can take it: it misreads what is not ASCII, so that shows as one "?" each.
std::string Drawable(const std::string& text) {
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) out += c;
    if (byte >= 0xC0) out += '?';
  }
  return out;
}

/// The longest start of the text that fits, with an ellipsis where something was cut.
std::string CutToWidth(std::string text, int width, int size) {
  if (TextWidth(text, size) <= width) return text;
  while (!text.empty() && TextWidth(text + "...", size) > width) text.pop_back();
  return text + "...";
}

}  // namespace

int SheetLayout::width() const {
  const auto used = static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(columns), pictures));
  return kGap + used * (cell_width + kGap);
}

int SheetLayout::height() const {
  const auto per_row = static_cast<std::size_t>(columns);
  const auto rows = static_cast<int>((pictures + per_row - 1) / per_row);
  return (has_title ? kTitle : 0) + kGap + rows * (cell_height + kCaption + kGap);
}

int SheetLayout::left(std::size_t index) const {
  return kGap + static_cast<int>(index % static_cast<std::size_t>(columns)) * (cell_width + kGap);
}

int SheetLayout::top(std::size_t index) const {
  const auto row = static_cast<int>(index / static_cast<std::size_t>(columns));
  return (has_title ? kTitle : 0) + kGap + row * (cell_height + kCaption + kGap);
}

Canvas::Canvas(int width, int height) : width_(width), height_(height) {
  if (width > PF_MAX_WORLD_SIZE || height > PF_MAX_WORLD_SIZE) {
    throw UsageFailure("cannot make", "the sheet",
                       fmt::format("it would have {} x {} pixels and the limit is {} each way", width, height,
                                   static_cast<int>(PF_MAX_WORLD_SIZE)),
                       "use fewer pictures, smaller cells or another number of columns");
  }
  rgb_.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3, kBackground);
}

std::uint8_t* Canvas::at(int x, int y) {
  return rgb_.data() +
         (static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x)) * 3;
}

const std::uint8_t* Canvas::row(int y) const {
  return rgb_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) * 3;
}

void Canvas::DrawOverChecks(const PF_World& world, Alpha alpha, int left, int top) {
  for (int y = 0; y < world.height; ++y) {
    const auto* in = reinterpret_cast<const PF_Pixel8*>(static_cast<const std::byte*>(world.data) +
                                                        static_cast<std::ptrdiff_t>(y) * world.row_bytes);
    std::uint8_t* out = at(left, top + y);
    for (int x = 0; x < world.width; ++x, ++in, out += 3) {
      const int check = (x / kCheck + y / kCheck) % 2 ? kLight : kDark;
      const int a = alpha == Alpha::kNone ? 255 : in->alpha, weight = alpha == Alpha::kStraight ? a : 255;
      const std::array<int, 3> colour = {in->red, in->green, in->blue};
      for (std::size_t c = 0; c < 3; ++c) {
        out[c] = static_cast<std::uint8_t>(std::min(255, (colour[c] * weight + check * (255 - a) + 127) / 255));
      }
    }
  }
}

bool Canvas::DrawText(const std::string& text, int left, int baseline, int width, int size) {
  OIIO::ImageBuf image(OIIO::ImageSpec(width_, height_, 3, OIIO::TypeDesc::UINT8), rgb_.data());
  const std::string shown = CutToWidth(Drawable(text), width, size);
  const int start = left + std::max(0, (width - TextWidth(shown, size)) / 2);
  const std::array<float, 3> ink = {kInk / 255.0f, kInk / 255.0f, kInk / 255.0f};
  const bool drawn = OIIO::ImageBufAlgo::render_text(image, start, baseline, shown, size, kFont, ink);
  if (!drawn) image.geterror();
  return drawn;
}

}  // namespace pftool
