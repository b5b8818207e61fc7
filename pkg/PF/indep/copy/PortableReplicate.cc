#include <algorithm>
#include <cstring>

#include "PF/PF_Types.h"
#include "copy/ReplicateKernels.h"

namespace pf {
namespace {

template <class P>
void Same(const void* in, void* out, const ColumnMap& map) {
  std::memmove(out, in, static_cast<std::size_t>(map.n) * sizeof(P));
}

template <class P>
void Twice(const void* in, void* out, const ColumnMap& map) {
  const auto* from = static_cast<const P*>(in);
  auto* to = static_cast<P*>(out);
  for (std::int64_t k = 0, n = map.n; k < n; ++k) to[k] = from[k / 2];
}

template <class P>
void Odd(const void* in, void* out, const ColumnMap& map) {
  const auto* from = static_cast<const P*>(in);
  auto* to = static_cast<P*>(out);
  for (std::int64_t k = 0, n = map.n; k < n; ++k) to[k] = from[2 * k + 1];
}

template <class P>
void Gather(const void* in, void* out, const ColumnMap& map) {
  const auto* from = static_cast<const P*>(in);
  auto* to = static_cast<P*>(out);
  const std::int32_t* index = map.index;
  const std::int64_t n = map.n;
  for (std::int64_t k = 0; k < n; ++k) to[k] = from[index[k]];
}

void ReverseBytes(void* pixels, std::int64_t n) {
  auto* pixel = static_cast<PF_Pixel8*>(pixels);
  for (std::int64_t k = 0; k < n; ++k) {
    std::swap(pixel[k].alpha, pixel[k].blue);
    std::swap(pixel[k].red, pixel[k].green);
  }
}

}  // namespace

constexpr ReplicateKernels kPortableReplicateKernels = {
    {{Same<PF_Pixel8>, Same<PF_Pixel16>, Same<PF_PixelFloat>},
     {Twice<PF_Pixel8>, Twice<PF_Pixel16>, Twice<PF_PixelFloat>},
     {Odd<PF_Pixel8>, Odd<PF_Pixel16>, Odd<PF_PixelFloat>},
     {Gather<PF_Pixel8>, Gather<PF_Pixel16>, Gather<PF_PixelFloat>},
     {Gather<PF_Pixel8>, Gather<PF_Pixel16>, Gather<PF_PixelFloat>}},
    ReverseBytes};

}  // namespace pf
