#include <cstring>

#include "pixel/ConvertDepth.h"
#include "world/ConvertKernels.h"

namespace pf {
namespace {

template <class From, class To>
void ConvertRow(const void* in, void* out, std::size_t n) {
  const auto* from = static_cast<const From*>(in);
  auto* to = static_cast<To*>(out);
  for (std::size_t i = 0; i < n; ++i) to[i] = ConvertPixel<To>(from[i]);
}

template <class P>
void CopyRow(const void* in, void* out, std::size_t n) {
  std::memcpy(out, in, n * sizeof(P));
}

void DitherRow(const void* in, void* out, const std::uint32_t* random, std::size_t n) {
  const auto* from = static_cast<const std::uint16_t*>(in);
  auto* to = static_cast<std::uint8_t*>(out);
  for (std::size_t i = 0; i < 4 * n; ++i) to[i] = NarrowDithered(from[i], random[i]);
}

}  // namespace

constinit const ConvertKernels kPortableConvertKernels = {
    {{&CopyRow<PF_Pixel8>, &ConvertRow<PF_Pixel8, PF_Pixel16>, &ConvertRow<PF_Pixel8, PF_PixelFloat>},
     {&ConvertRow<PF_Pixel16, PF_Pixel8>, &CopyRow<PF_Pixel16>, &ConvertRow<PF_Pixel16, PF_PixelFloat>},
     {&ConvertRow<PF_PixelFloat, PF_Pixel8>, &ConvertRow<PF_PixelFloat, PF_Pixel16>, &CopyRow<PF_PixelFloat>}},
    &DitherRow};

}  // namespace pf
