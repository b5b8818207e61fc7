// Row kernels of depth conversion.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pf {

struct ConvertKernels {
  // Converts n pixels from `in` to `out`, which do not overlap. Neither needs alignment beyond its
  // channel's.
  using Row = void (*)(const void* in, void* out, std::size_t n);
  // 16 to 8 bits with one value of the dither sequence per channel; `random` holds 4 n of them.
  using DitherRow = void (*)(const void* in, void* out, const std::uint32_t* random, std::size_t n);

  Row row[3][3];  // [DepthIndex(from)][DepthIndex(to)]; equal depths copy
  DitherRow dither16to8;
};

// Plain C++: the reference.
extern const ConvertKernels kPortableConvertKernels;
// The widest target that is allowed.
const ConvertKernels& VectorConvertKernels();

}  // namespace pf
