#include "Picture.h"

#include <cstring>
#include <new>

namespace pfbench {
namespace {

constexpr std::align_val_t kAlignment{64};

std::int32_t PaddedRow(std::int32_t width, std::int32_t depth) { return (width * depth / 2 + 63) / 64 * 64; }

// A congruential sequence; the high bits are good enough for noise.
class Noise {
 public:
  std::uint32_t Next() {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<std::uint32_t>(state_ >> 40);  // 24 bits
  }

 private:
  std::uint64_t state_ = 20240229;
};

std::uint8_t FromNoise(std::uint32_t bits, std::uint8_t) { return static_cast<std::uint8_t>(bits >> 16); }
std::uint16_t FromNoise(std::uint32_t bits, std::uint16_t) {
  return static_cast<std::uint16_t>((bits * std::uint64_t{32769}) >> 24);
}
float FromNoise(std::uint32_t bits, float) { return static_cast<float>(bits) * 0x1p-24f; }

}  // namespace

AlignedBytes::AlignedBytes(std::size_t size)
    : size_(size), data_(static_cast<std::byte*>(::operator new(size, kAlignment))) {}

void AlignedBytes::Free::operator()(std::byte* block) const { ::operator delete(block, kAlignment); }

Picture::Picture(Size size, std::int32_t depth)
    : depth_(depth),
      memory_(static_cast<std::size_t>(PaddedRow(size.width, depth)) * static_cast<std::size_t>(size.height)),
      record_{} {
  const std::uint32_t format = depth == 8 ? 0u : depth == 16 ? 1u : 2u;
  record_.world_flags = format << PF_WorldFlag_FORMAT_SHIFT | (depth == 16 ? PF_WorldFlag_DEEP : 0u);
  record_.data = memory_.data();
  record_.row_bytes = PaddedRow(size.width, depth);
  record_.width = size.width;
  record_.height = size.height;
  record_.extent = {0, 0, size.width, size.height};
}

void Picture::FillBytes(int value) { std::memset(memory_.data(), value, memory_.size()); }

void Picture::FillNoise(bool opaque) {
  FillBytes(0);
  WithChannel(depth_, [&](auto zero) {
    using Channel = decltype(zero);
    Noise noise;
    for (std::int32_t y = 0; y < height(); ++y) {
      auto* out = row<Channel>(y);
      for (std::int32_t i = 0; i < 4 * width(); ++i) out[i] = FromNoise(noise.Next(), zero);
      for (std::int32_t i = 0; opaque && i < 4 * width(); i += 4) out[i] = static_cast<Channel>(FullValue(depth_));
    }
  });
}

void Picture::Premultiply() {
  WithChannel(depth_, [&](auto zero) {
    using Channel = decltype(zero);
    for (std::int32_t y = 0; y < height(); ++y) {
      auto* out = row<Channel>(y);
      for (std::int32_t i = 0; i < 4 * width(); ++i) {
        const double alpha = static_cast<double>(out[i / 4 * 4]) / FullValue(depth_);
        if (i % 4 != 0) out[i] = static_cast<Channel>(static_cast<double>(out[i]) * alpha);
      }
    }
  });
}

bool Picture::SamePixels(const Picture& other) const {
  for (std::int32_t y = 0; y < height(); ++y) {
    if (std::memcmp(row(y), other.row(y), used_row_bytes()) != 0) return false;
  }
  return true;
}

void Picture::MakeSecond() {
  second = std::make_unique<Picture>(size(), depth_);
  second->FillBytes(0);
  for (std::int32_t y = 0; y < height(); ++y) std::memcpy(second->row(y), row(height() - 1 - y), used_row_bytes());
}

}  // namespace pfbench
