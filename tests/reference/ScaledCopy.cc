#include "reference/ScaledCopy.h"

#include <algorithm>

#include "PF/PF_Sampling.h"
#include "world/ConvertKernels.h"

namespace pftest {
namespace {

__extension__ typedef __int128 Wide;

struct Box {
  Wide left, top, right, bottom;
  Wide Width() const { return right - left; }
  Wide Height() const { return bottom - top; }
};

Box BoxOf(const M_LRect* rect, const TestWorld& world) {
  if (rect == nullptr) return {0, 0, world.width(), world.height()};
  return {rect->left, rect->top, rect->right, rect->bottom};
}

bool Nothing(const Box& box, const TestWorld& world) {
  return box.left >= box.right || box.top >= box.bottom || box.left >= world.width() || box.top >= world.height() ||
         box.right < 1 || box.bottom < 1;
}

// Moves the edges of `box` into the world; `other` follows in the proportion of the extents given.
void ClipTo(const TestWorld& world, Box& box, Wide width, Wide height, Box& other, Wide other_width,
            Wide other_height) {
  if (box.left < 0) {
    other.left += (-box.left * other_width) / width;
    box.left = 0;
  }
  if (box.right > world.width()) {
    other.right -= ((box.right - world.width()) * other_width) / width;
    box.right = world.width();
  }
  if (box.top < 0) {
    other.top += (-box.top * other_height) / height;
    box.top = 0;
  }
  if (box.bottom > world.height()) {
    other.bottom -= ((box.bottom - world.height()) * other_height) / height;
    box.bottom = world.height();
  }
}

std::byte* At(const TestWorld& world, Wide x, Wide y) {
  return world.Row(static_cast<std::int32_t>(y)) + static_cast<std::int64_t>(x) * (world.depth() / 2);
}

void ConvertPixel(const TestWorld& src, const std::byte* in, const TestWorld& dst, std::byte* out) {
  pf::kPortableConvertKernels.row[pf::DepthIndex(src.depth())][pf::DepthIndex(dst.depth())](in, out, 1);
}

// Equal rectangles at a non-negative origin: the rows and columns that both worlds have.
void CopyEqual(const TestWorld& src, TestWorld& dst, const Box& box) {
  const Wide right = std::min<Wide>(box.right, std::min(src.width(), dst.width()));
  const Wide bottom = std::min<Wide>(box.bottom, std::min(src.height(), dst.height()));
  for (Wide y = box.top; y < bottom; ++y) {
    for (Wide x = box.left; x < right; ++x) ConvertPixel(src, At(src, x, y), dst, At(dst, x, y));
  }
}

void CopyDraft(const TestWorld& src, TestWorld& dst, const Box& from, const Box& to) {
  if (to.Width() <= 0 || to.Height() <= 0 || from.Width() <= 0) return;
  Wide acc_y = 0, out_y = to.top;
  for (Wide y = from.top; y < from.bottom; ++y) {
    acc_y += to.Height();
    for (Wide n = acc_y / from.Height(); n > 0; --n, ++out_y) {
      acc_y -= from.Height();
      Wide acc_x = 0, out_x = to.left;
      for (Wide x = from.left; x < from.right; ++x) {
        acc_x += to.Width();
        const Wide m = acc_x / from.Width();
        acc_x -= m * from.Width();
        for (Wide i = 0; i < m; ++i, ++out_x) ConvertPixel(src, At(src, x, y), dst, At(dst, out_x, out_y));
      }
    }
  }
}

template <class P>
using Sampler = PF_Err (*)(PF_ProgressInfo*, std::int32_t, std::int32_t, const PF_SampPB*, P*);

template <class P>
struct Samplers {
  Sampler<P> nearest, bilinear, area, bilinear_premul, area_premul;
};

Samplers<PF_Pixel8> SamplersOf(PF_Pixel8) {
  return {PF_NNSample, PF_SubpixelSample_Straight, PF_AreaSample_Straight, PF_SubpixelSample_Premul,
          PF_AreaSample_Premul};
}
Samplers<PF_Pixel16> SamplersOf(PF_Pixel16) {
  return {PF_NNSample16, PF_SubpixelSample_Straight16, PF_AreaSample_Straight16, PF_SubpixelSample_Premul16,
          PF_AreaSample_Premul16};
}
Samplers<PF_PixelFloat> SamplersOf(PF_PixelFloat) {
  return {PF_NNSampleFloat, PF_SubpixelBilinearFloat, PF_AreaSample_CPlusPlus<PF_PixelFloat, 1>,
          PF_SubpixelSample_PremulFloat, PF_AreaSample_PremulFloat};
}

template <class P>
void CopySampled(PF_CopyKind kind, const TestWorld& src, TestWorld& dst, const Box& from, const Box& to) {
  if (from.Width() <= 0 || from.Height() <= 0 || to.Width() <= 0 || to.Height() <= 0) return;
  const auto scale_x = static_cast<std::int64_t>(from.Width() * 65536 / to.Width());
  const auto scale_y = static_cast<std::int64_t>(from.Height() * 65536 / to.Height());
  const PF_SampPB params = {static_cast<std::int32_t>(scale_x >> 1), static_cast<std::int32_t>(scale_y >> 1),
                            static_cast<std::int32_t>(std::min(
                                static_cast<double>(scale_x) * static_cast<double>(scale_y) / 65536.0, 2147483647.0)),
                            src.record()};
  const Samplers<P> all = SamplersOf(P{});
  const bool enlarges = scale_x <= 65536 && scale_y <= 65536;
  const Sampler<P> sample = kind == PF_CopyKind_LO_STRAIGHT   ? all.nearest
                            : kind == PF_CopyKind_HQ_STRAIGHT ? (enlarges ? all.bilinear : all.area)
                                                              : (enlarges ? all.bilinear_premul : all.area_premul);
  const std::int64_t x0 = static_cast<std::int64_t>(from.left) * 65536 + scale_x / 2 - 32768;
  std::int64_t position_y = static_cast<std::int64_t>(from.top) * 65536 + scale_y / 2 - 32768;
  for (Wide y = to.top; y < to.bottom; ++y, position_y += scale_y) {
    std::int64_t position_x = x0;
    for (Wide x = to.left; x < to.right; ++x, position_x += scale_x) {
      P pixel;
      sample(nullptr, static_cast<std::int32_t>(position_x), static_cast<std::int32_t>(position_y), &params, &pixel);
      ConvertPixel(src, reinterpret_cast<const std::byte*>(&pixel), dst, At(dst, x, y));
    }
  }
}

}  // namespace

PF_Err ReferenceCopy(PF_CopyKind kind, const TestWorld& src, TestWorld& dst, const M_LRect* src_rect,
                     const M_LRect* dst_rect) {
  Box from = BoxOf(src_rect, src);
  Box to = BoxOf(dst_rect, dst);
  const Box from_given = from, to_given = to;
  const bool high = kind == PF_CopyKind_HQ_STRAIGHT || kind == PF_CopyKind_HQ_PREMUL;
  const bool samples = high && !(from.Width() == to.Width() && from.Height() == to.Height());
  if (samples && src.depth() != dst.depth()) return 3;
  if (Nothing(from, src) || Nothing(to, dst)) return 0;
  if (kind == PF_CopyKind_DRAFT && from.left == to.left && from.top == to.top && from.right == to.right &&
      from.bottom == to.bottom && from.left >= 0 && from.top >= 0) {
    CopyEqual(src, dst, from);
    return 0;
  }
  ClipTo(src, from, from_given.Width(), from_given.Height(), to, to_given.Width(), to_given.Height());
  ClipTo(dst, to, to_given.Width(), to_given.Height(), from, from_given.Width(), from_given.Height());
  if (!samples && kind != PF_CopyKind_LO_STRAIGHT) {
    CopyDraft(src, dst, from, to);
    return 0;
  }
  return pf::DispatchDepth(
      src.depth(),
      [&]<class P>(P) {
        CopySampled<P>(kind, src, dst, from, to);
        return 0;
      },
      [] { return 0; });
}

std::vector<std::int64_t> ReferenceCounts(std::int64_t from, std::int64_t to) {
  std::vector<std::int64_t> counts;
  std::int64_t accumulator = 0;
  for (std::int64_t i = 0; i < from; ++i) {
    accumulator += to;
    counts.push_back(accumulator / from);
    accumulator -= counts.back() * from;
  }
  return counts;
}

}  // namespace pftest
