// Single channels of bare arrays.
#include <algorithm>

#include "PF/PF_Masks.h"
#include "mask/MaskMath.h"

namespace pf {
namespace {

using Vector = M_Vector2T<std::int32_t>;

// Value number `x` of row y; rows are `row_bytes` apart.
template <class T>
T* ValueAt(T* base, std::int32_t row_bytes, std::int64_t x, std::int64_t y) {
  using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + y * row_bytes) + x;
}

// One of the two sides steps over whole pixels.
template <class T, std::int64_t src_step, std::int64_t dst_step>
void CopyChannel(const T* src, std::int32_t src_row_bytes, std::int32_t dst_row_bytes, Vector extent, Vector src_origin,
                 Vector dst_origin, T* dst) {
  for (std::int32_t y = 0; y < extent.v; ++y) {
    const T* in = ValueAt(src, src_row_bytes, src_step * src_origin.h, std::int64_t{src_origin.v} + y);
    T* out = ValueAt(dst, dst_row_bytes, dst_step * dst_origin.h, std::int64_t{dst_origin.v} + y);
    for (std::int64_t x = 0; x < extent.h; ++x) out[dst_step * x] = in[src_step * x];
  }
}

constexpr std::uint8_t BlendOf(std::uint8_t v0, std::uint8_t v1, std::uint8_t m) {
  return static_cast<std::uint8_t>(DivideBy255(v0 * (255u - m) + v1 * std::uint32_t{m}));
}
constexpr std::uint16_t BlendOf(std::uint16_t v0, std::uint16_t v1, std::uint16_t m) {
  const std::uint32_t part = std::min<std::uint32_t>(m, PF_MAX_CHAN16);
  return static_cast<std::uint16_t>((v0 * (PF_MAX_CHAN16 - part) + v1 * part + 16384) >> 15);
}
constexpr float BlendOf(float v0, float v1, float m) {
  if (m == 0) return v0;
  return m >= 1 ? v1 : v0 + (v1 - v0) * m;
}

}  // namespace
}  // namespace pf

template <class T>
void PF_Interleave1to4(const T* src, std::int32_t src_row_bytes, std::int32_t dst_row_bytes,
                       M_Vector2T<std::int32_t> extent, M_Vector2T<std::int32_t> src_origin,
                       M_Vector2T<std::int32_t> dst_origin, T* dst) {
  pf::CopyChannel<T, 1, 4>(src, src_row_bytes, dst_row_bytes, extent, src_origin, dst_origin, dst);
}

template <class T>
void PF_Deinterleave1(const T* src, std::int32_t src_row_bytes, std::int32_t dst_row_bytes, std::int32_t channel,
                      M_Vector2T<std::int32_t> extent, M_Vector2T<std::int32_t> src_origin,
                      M_Vector2T<std::int32_t> dst_origin, T* dst) {
  if (channel < 0 || channel > 3) return;
  pf::CopyChannel<T, 4, 1>(src + channel, src_row_bytes, dst_row_bytes, extent, src_origin, dst_origin, dst);
}

template <class Pixel, class T>
void PF_BlendSingleChannel(std::int32_t count, T v0, T v1, const T* mask, Pixel* dst) {
  for (std::int64_t i = 0; i < count; ++i) dst[i].alpha = pf::BlendOf(v0, v1, mask[i]);
}

#define PF_INSTANTIATE(Pixel, T)                                                                               \
  template PF_EXPORT void PF_Interleave1to4<T>(const T*, std::int32_t, std::int32_t, M_Vector2T<std::int32_t>, \
                                               M_Vector2T<std::int32_t>, M_Vector2T<std::int32_t>, T*);        \
  template PF_EXPORT void PF_Deinterleave1<T>(const T*, std::int32_t, std::int32_t, std::int32_t,              \
                                              M_Vector2T<std::int32_t>, M_Vector2T<std::int32_t>,              \
                                              M_Vector2T<std::int32_t>, T*);                                   \
  template PF_EXPORT void PF_BlendSingleChannel<Pixel, T>(std::int32_t, T, T, const T*, Pixel*);
PF_INSTANTIATE(PF_Pixel8, std::uint8_t)
PF_INSTANTIATE(PF_Pixel16, std::uint16_t)
PF_INSTANTIATE(PF_PixelFloat, float)
#undef PF_INSTANTIATE
