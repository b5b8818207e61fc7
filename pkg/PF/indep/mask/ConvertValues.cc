#include "mask/ConvertValues.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "lifecycle/Globals.h"
#include "pixel/Depth.h"
#include "world/ConvertKernels.h"

namespace pf {
namespace {

constexpr std::size_t kValueSize[] = {1, 2, 4};

// The kernels take whole pixels.
void ConvertAsPixels(int from, int to, const std::byte* in, std::byte* out, std::size_t n) {
  const auto kernel = g_kernels.convert.load(std::memory_order_relaxed)->row[from][to];
  kernel(in, out, n / 4);
  const std::size_t rest = n % 4, done = n - rest;
  if (rest == 0) return;
  std::byte last_in[16] = {}, last_out[16];
  std::memcpy(last_in, in + done * kValueSize[from], rest * kValueSize[from]);
  kernel(last_in, last_out, 1);
  std::memcpy(out + done * kValueSize[to], last_out, rest * kValueSize[to]);
}

// Alpha of pixels is not limited; within 0..1 all channels are alike.
void ConvertFloats(int to, const float* in, std::byte* out, std::size_t n) {
  constexpr std::size_t kChunk = 512;
  float limited[kChunk];
  for (std::size_t i = 0; i < n; i += kChunk) {
    const std::size_t count = std::min(kChunk, n - i);
    for (std::size_t k = 0; k < count; ++k) {
      const float v = in[i + k] > 0 ? in[i + k] : 0;  // NaN too
      limited[k] = v < 1 ? v : 1;
    }
    ConvertAsPixels(DepthIndex(32), to, reinterpret_cast<const std::byte*>(limited), out + i * kValueSize[to], count);
  }
}

// Above full there is no coverage; pixels would wrap or leave 0..1.
void ConvertDeep(int to, const std::uint16_t* in, std::byte* out, std::size_t n) {
  constexpr std::size_t kChunk = 512;
  std::uint16_t limited[kChunk];
  for (std::size_t i = 0; i < n; i += kChunk) {
    const std::size_t count = std::min(kChunk, n - i);
    for (std::size_t k = 0; k < count; ++k) limited[k] = std::min<std::uint16_t>(in[i + k], PF_MAX_CHAN16);
    ConvertAsPixels(DepthIndex(16), to, reinterpret_cast<const std::byte*>(limited), out + i * kValueSize[to], count);
  }
}

}  // namespace

void ConvertValues(int from, int to, const void* in, void* out, std::int64_t n) {
  const auto count = static_cast<std::size_t>(n);
  auto* bytes = static_cast<std::byte*>(out);
  if (from == DepthIndex(32) && to != from) return ConvertFloats(to, static_cast<const float*>(in), bytes, count);
  ConvertAsPixels(from, to, static_cast<const std::byte*>(in), bytes, count);
}

void ConvertLimited(int from, int to, const void* in, void* out, std::int64_t n) {
  if (from != DepthIndex(16) || to == from) return ConvertValues(from, to, in, out, n);
  ConvertDeep(to, static_cast<const std::uint16_t*>(in), static_cast<std::byte*>(out), static_cast<std::size_t>(n));
}

}  // namespace pf
