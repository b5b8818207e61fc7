#include <algorithm>
#include <cstring>

#include "picture.h"

namespace pftool {
namespace {

constexpr std::uint8_t ToWorld(std::uint8_t value) { return value; }
constexpr std::uint16_t ToWorld(std::uint16_t value) { return WorldFromFile16(value); }
constexpr float ToWorld(float value) { return value; }
constexpr std::uint8_t ToFile(std::uint8_t value) { return value; }
constexpr std::uint16_t ToFile(std::uint16_t value) { return FileFromWorld16(value); }
constexpr float ToFile(float value) { return value; }

template <class Value>
constexpr Value kOpaque = 1;
template <>
constexpr std::uint8_t kOpaque<std::uint8_t> = PF_MAX_CHAN8;
template <>
constexpr std::uint16_t kOpaque<std::uint16_t> = PF_MAX_CHAN16;

template <class Value, class Pixel>
void Widen(const Value* in, const PictureFacts& facts, int count, Pixel* out) {
  const bool grey = facts.channels < 3;
  const int red = facts.indices[0];
  const int green = grey ? red : facts.indices[1];
  const int blue = grey ? red : facts.indices[2];
  const int alpha = facts.has_alpha() ? facts.indices[grey ? 1 : 3] : -1;
  for (int i = 0; i < count; ++i, in += facts.file_channels) {
    out[i].alpha = alpha < 0 ? kOpaque<Value> : ToWorld(in[alpha]);
    out[i].red = ToWorld(in[red]);
    out[i].green = ToWorld(in[green]);
    out[i].blue = ToWorld(in[blue]);
  }
}

template <class Value, class Pixel>
void Narrow(const Pixel* in, int channels, int count, Value* out) {
  for (int i = 0; i < count; ++i, out += channels) {
    out[0] = ToFile(in[i].red);
    if (channels == 2) out[1] = ToFile(in[i].alpha);
    if (channels < 3) continue;
    out[1] = ToFile(in[i].green);
    out[2] = ToFile(in[i].blue);
    if (channels == 4) out[3] = ToFile(in[i].alpha);
  }
}

}  // namespace

void RowToWorld(const std::byte* values, OIIO::TypeDesc type, const PictureFacts& facts, int count, void* pixels) {
  const void* in = values;
  if (type == OIIO::TypeDesc::UINT8) {
    Widen(static_cast<const std::uint8_t*>(in), facts, count, static_cast<PF_Pixel8*>(pixels));
  } else if (type == OIIO::TypeDesc::UINT16) {
    Widen(static_cast<const std::uint16_t*>(in), facts, count, static_cast<PF_Pixel16*>(pixels));
  } else {
    Widen(static_cast<const float*>(in), facts, count, static_cast<PF_PixelFloat*>(pixels));
  }
}

void RowFromWorld(const void* pixels, int depth, int channels, int count, std::byte* values) {
  void* out = values;
  if (depth == 8) {
    Narrow(static_cast<const PF_Pixel8*>(pixels), channels, count, static_cast<std::uint8_t*>(out));
  } else if (depth == 16) {
    Narrow(static_cast<const PF_Pixel16*>(pixels), channels, count, static_cast<std::uint16_t*>(out));
  } else {
    Narrow(static_cast<const PF_PixelFloat*>(pixels), channels, count, static_cast<float*>(out));
  }
}

}  // namespace pftool
