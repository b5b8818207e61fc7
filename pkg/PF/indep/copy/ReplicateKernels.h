// Row kernels of the copies that take the nearest pixel: draft and low quality.
#pragma once

#include <cstdint>

namespace pf {

// How the columns of a row map to source columns.
enum ColumnKind : std::int32_t {
  kColumns_SAME,   // out[k] = in[k]
  kColumns_TWICE,  // out[k] = in[k / 2]
  kColumns_ODD,    // out[k] = in[2 k + 1]
  kColumns_RISE,   // out[k] = in[index[k]], index rises by 0 or 1
  kColumns_FALL,   // out[k] = in[index[k]], index rises by 0 or more
  kColumnKindCount
};

struct ColumnMap {
  ColumnKind kind;
  const std::int32_t* index;  // n source columns; null for the first three kinds
  std::int64_t n;             // destination pixels
  std::int64_t readable;      // source pixels that may be read, at least the last one needed
};

struct ReplicateKernels {
  // Writes one row. Neither row needs alignment beyond its channel's; they do not overlap, except that
  // kColumns_SAME moves.
  using Row = void (*)(const void* in, void* out, const ColumnMap& map);
  Row row[kColumnKindCount][3];  // [kind][DepthIndex]: pixels of 4, 8, 16 bytes

  // Reverses the four bytes of each of n 8-bit pixels in place, as U_LongSwap does.
  void (*reverse_bytes)(void* pixels, std::int64_t n);
};

extern const ReplicateKernels kPortableReplicateKernels;
const ReplicateKernels& VectorReplicateKernels();

}  // namespace pf
