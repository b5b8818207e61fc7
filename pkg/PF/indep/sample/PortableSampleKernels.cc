// One sampler per pixel: the reference of all row kernels.
#include "sample/Area.h"
#include "sample/Bilinear.h"
#include "sample/PremulBilinear.h"
#include "sample/SampleKernels.h"

namespace pf {

namespace {

// The block's first 64 bytes are the least that a caller may clear.
std::uint64_t NoScratch(const PF_SampPB*, std::int64_t, std::int64_t) { return 64; }

template <class P, P (*Sample)(const PF_SampPB&, std::int64_t, std::int64_t)>
void EachPixel(const SampleRow& row, std::byte*) {
  P* out = static_cast<P*>(row.out);
  for (std::int64_t k = 0; k < row.n; ++k) out[k] = Sample(*row.params, row.x0 + k * row.step_x, row.y);
}

template <class P, P (*Sample)(const PF_SampPB&, std::int64_t, std::int64_t)>
constexpr SampleKernels::Pair kEach = {NoScratch, EachPixel<P, Sample>};

}  // namespace

const SampleKernels kPortableSampleKernels = {
    {kEach<PF_Pixel8, SampleStraight<PF_Pixel8>>, kEach<PF_Pixel16, SampleStraight<PF_Pixel16>>,
     kEach<PF_PixelFloat, SampleStraight<PF_PixelFloat>>},
    {kEach<PF_Pixel8, SamplePremul<PF_Pixel8>>, kEach<PF_Pixel16, SamplePremul<PF_Pixel16>>,
     kEach<PF_PixelFloat, SamplePremul<PF_PixelFloat>>},
    {kEach<PF_Pixel8, SampleArea<PF_Pixel8, true>>, kEach<PF_Pixel16, SampleArea<PF_Pixel16, true>>,
     kEach<PF_PixelFloat, SampleArea<PF_PixelFloat, true>>},
    {kEach<PF_Pixel8, SampleArea<PF_Pixel8, false>>, kEach<PF_Pixel16, SampleArea<PF_Pixel16, false>>,
     kEach<PF_PixelFloat, SampleArea<PF_PixelFloat, false>>},
    [] {}};

}  // namespace pf
