#include "selftest/Worlds.h"

#include <cstdio>
#include <cstring>

#include "selftest/Depth.h"

namespace selftest {
namespace {

std::size_t BlockSize(std::int32_t depth, std::int32_t width, std::int32_t height, std::int32_t gap) {
  const auto row = static_cast<std::size_t>(width) * static_cast<std::size_t>(depth / 2);
  // No gap behind the last row: the block ends with its last pixel.
  return height == 0 ? 0 : (row + static_cast<std::size_t>(gap)) * static_cast<std::size_t>(height - 1) + row;
}

template <class C>
C RandomChannel(Random& random, TestWorld::Kind kind, C full) {
  if (kind == TestWorld::kEdges) {
    const C values[] = {C(0), C(1), C(full / 2), C(full - 1), full, full, C(0)};
    return values[random() % 7];
  }
  return static_cast<C>(static_cast<double>(random() >> 11) * 0x1p-53 * (static_cast<double>(full) + 0.999));
}

template <>
float RandomChannel(Random& random, TestWorld::Kind kind, float) {
  const auto unit = static_cast<float>(random() >> 40) * 0x1p-24f;
  if (kind == TestWorld::kEdges) {
    const float values[] = {0.0f, 1.0f, 0.5f, 1.5f, -0.25f, 1e-40f, unit};
    return values[random() % 7];
  }
  return kind == TestWorld::kRandom && random() % 16 == 0 ? unit * 4.0f - 2.0f : unit;
}

template <class P>
P RandomPixel(Random& random, TestWorld::Kind kind, int block) {
  constexpr auto kFull = DepthTraits<P>::kFull;
  using C = ChannelOf<P>;
  P pixel;
  if (kind == TestWorld::kRawBits) {
    const std::uint64_t bits[2] = {random(), random()};
    std::memcpy(&pixel, bits, sizeof(P));
    return pixel;
  }
  pixel = {RandomChannel<C>(random, kind, kFull), RandomChannel<C>(random, kind, kFull),
           RandomChannel<C>(random, kind, kFull), RandomChannel<C>(random, kind, kFull)};
  if (kind == TestWorld::kOpaque) pixel.alpha = kFull;
  if (kind == TestWorld::kSparse && block % 3 == 0) pixel = {};
  if (kind == TestWorld::kSparse && block % 3 == 1) pixel.alpha = kFull;
  return pixel;
}

template <class C>
std::string ChannelText(C c) {
  return std::to_string(c);
}
template <>
std::string ChannelText(float c) {
  char text[48];
  std::snprintf(text, sizeof text, "%.9g", static_cast<double>(c));
  return text;
}

template <class P>
std::string TextOf(const P& p) {
  return std::string("(") + ChannelText(p.alpha) + " " + ChannelText(p.red) + " " + ChannelText(p.green) + " " +
         ChannelText(p.blue) + ")";
}

}  // namespace

TestWorld::TestWorld(std::int32_t depth, std::int32_t width, std::int32_t height, std::int32_t gap, Block::Where where)
    : depth_(depth), gap_(gap), block_(Around().new_block(BlockSize(depth, width, height, gap), where)), record_() {
  record_.world_flags = static_cast<std::uint32_t>(depth == 16 ? 1 : 0) | static_cast<std::uint32_t>(depth / 16)
                                                                              << PF_WorldFlag_FORMAT_SHIFT;
  record_.data = block_->data();
  record_.row_bytes = width * (depth / 2) + gap;
  record_.width = width;
  record_.height = height;
  record_.extent = {0, 0, width, height};
}

void TestWorld::Fill(Random& random, Kind kind) {
  WithDepth(depth_, [&]<class P>(P) {
    for (std::int32_t y = 0; y < height(); ++y) {
      for (std::int32_t x = 0; x < width(); ++x) {
        // Pixels of edge pictures often repeat their neighbour, so that uniform blocks occur.
        const bool repeat = kind == kEdges && x > 0 && random() % 3 == 0;
        At<P>(x, y) = repeat ? At<P>(x - 1, y) : RandomPixel<P>(random, kind, x / 5 + y / 5);
      }
    }
  });
}

bool TestWorld::GapsUntouched() const {
  for (std::int32_t y = 0; y + 1 < height(); ++y) {
    const std::byte* gap = Row(y) + width() * static_cast<std::int32_t>(PixelSize());
    for (std::int32_t i = 0; i < gap_; ++i) {
      if (gap[i] != Block::kUntouched) return false;
    }
  }
  return block_->Intact();
}

bool TestWorld::SamePixels(const TestWorld& other) const { return FirstDifference(other).empty(); }

std::string TestWorld::FirstDifference(const TestWorld& other) const {
  const std::size_t size = PixelSize();
  for (std::int32_t y = 0; y < height(); ++y) {
    for (std::int32_t x = 0; x < width(); ++x) {
      const auto offset = static_cast<std::size_t>(x) * size;
      if (std::memcmp(Row(y) + offset, other.Row(y) + offset, size) != 0) {
        return "depth " + std::to_string(depth_) + " at (" + std::to_string(x) + ", " + std::to_string(y) +
               "): " + PixelText(x, y) + " against " + other.PixelText(x, y);
      }
    }
  }
  return {};
}

std::string TestWorld::PixelText(std::int32_t x, std::int32_t y) const {
  return WithDepth(depth_, [&]<class P>(P) { return TextOf(At<P>(x, y)); });
}

std::vector<std::byte> TestWorld::Pixels() const {
  std::vector<std::byte> all;
  for (std::int32_t y = 0; y < height(); ++y) {
    all.insert(all.end(), Row(y), Row(y) + static_cast<std::size_t>(width()) * PixelSize());
  }
  return all;
}

}  // namespace selftest
