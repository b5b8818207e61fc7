#include "world/AlphaKernels.h"
#include "world/Premultiply.h"

namespace pf {
namespace {

template <class P, class F>
void MapRow(const void* in, void* out, std::size_t n, F f) {
  const auto* from = static_cast<const P*>(in);
  auto* to = static_cast<P*>(out);
  for (std::size_t i = 0; i < n; ++i) to[i] = f(from[i]);
}

template <class P>
struct Rows {
  static void Premultiply(const void* in, void* out, std::size_t n) {
    MapRow<P>(in, out, n, [](const P& p) { return Premultiplied(p); });
  }
  static void Unmultiply(const void* in, void* out, std::size_t n) {
    MapRow<P>(in, out, n, [](const P& p) { return Unmultiplied(p); });
  }
  static void OntoMatte(const void* in, const void* matte, void* out, std::size_t n) {
    MapRow<P>(in, out, n, [m = *static_cast<const P*>(matte)](const P& p) { return pf::OntoMatte(p, m); });
  }
  static void WithoutMatte(const void* in, const void* matte, void* out, std::size_t n) {
    MapRow<P>(in, out, n, [m = *static_cast<const P*>(matte)](const P& p) { return pf::WithoutMatte(p, m); });
  }
};

using Rows8 = Rows<PF_Pixel8>;
using Rows16 = Rows<PF_Pixel16>;
using RowsFloat = Rows<PF_PixelFloat>;

}  // namespace

constinit const AlphaKernels kPortableAlphaKernels = {
    {&Rows8::Premultiply, &Rows16::Premultiply, &RowsFloat::Premultiply},
    {&Rows8::Unmultiply, &Rows16::Unmultiply, &RowsFloat::Unmultiply},
    {&Rows8::OntoMatte, &Rows16::OntoMatte, &RowsFloat::OntoMatte},
    {&Rows8::WithoutMatte, &Rows16::WithoutMatte, &RowsFloat::WithoutMatte}};

}  // namespace pf
