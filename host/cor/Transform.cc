// Transforms between profiles, for any pair of layouts.
//
// Profiles of curves and a matrix have a way of their own (Shaper.h). For profiles of tables, integer layouts go
// straight through the colour library's precalculated transforms, which are made for a pair of layouts when it is
// first used, and the rest goes through floats. Proofs limit colours to what they can show, step by step.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <vector>

#include "cor/Layouts.h"
#include "cor/Profile.h"
#include "cor/Shaper.h"
#include "threaded/Parts.h"

namespace pfhost {
namespace {

// Pixels of a run that stay in the first-level cache as floats.
constexpr std::uint64_t kRun = 512;
// Pixels that a thread takes at once.
constexpr std::uint64_t kPart = 65536;
// Pixels that the colour library is given at once.
constexpr std::uint64_t kLongRun = std::uint64_t{1} << 24;

struct PixelFloat {
  float alpha, red, green, blue;
};

void LimitColour(PixelFloat* pixels, std::uint64_t count) {
  for (std::uint64_t i = 0; i < count; ++i) {
    pixels[i] = {pixels[i].alpha, Limited(pixels[i].red), Limited(pixels[i].green), Limited(pixels[i].blue)};
  }
}

template <class T, int full>
void Widen(const std::byte* source, PixelFloat* out, std::uint64_t count) {
  const auto channel = [](T v) { return std::min(static_cast<float>(v) * (1.0f / full), 1.0f); };
  for (std::uint64_t i = 0; i < count; ++i) {
    T pixel[4];
    std::memcpy(pixel, source + i * sizeof pixel, sizeof pixel);
    out[i] = {0, channel(pixel[1]), channel(pixel[2]), channel(pixel[3])};
  }
}

template <class T, int full>
void Narrow(const PixelFloat* source, std::byte* out, std::uint64_t count) {
  const auto channel = [](float v) { return static_cast<T>(Limited(v) * full + 0.5f); };
  for (std::uint64_t i = 0; i < count; ++i) {
    const T colour[3] = {channel(source[i].red), channel(source[i].green), channel(source[i].blue)};
    std::memcpy(out + i * 4 * sizeof(T) + sizeof(T), colour, sizeof colour);
  }
}

void LoadFloats(LayoutIndex layout, const std::byte* source, PixelFloat* out, std::uint64_t count) {
  if (layout == kEight) return Widen<std::uint8_t, 255>(source, out, count);
  if (layout == kSixteen) return Widen<std::uint16_t, 32768>(source, out, count);
  std::memcpy(out, source, count * sizeof *out);
}

void StoreFloats(LayoutIndex layout, const PixelFloat* source, std::byte* out, std::uint64_t count) {
  if (layout == kEight) return Narrow<std::uint8_t, 255>(source, out, count);
  if (layout == kSixteen) return Narrow<std::uint16_t, 32768>(source, out, count);
  for (std::uint64_t i = 0; i < count; ++i) {
    std::memcpy(out + i * sizeof *source + sizeof(float), &source[i].red, 3 * sizeof(float));
  }
}

bool KnownIntent(XCE_Intent intent) {
  return intent >= XCE_Intent_PERCEPTUAL && intent <= XCE_Intent_ABSOLUTE_COLORIMETRIC;
}

}  // namespace
}  // namespace pfhost

struct XCETransform {
  XCETransform(const COR_XCE_Profile* source, const COR_XCE_Profile* destination,
               const COR_XCE_TransformOptions& options);
  ~XCETransform();
  void Apply(pfhost::LayoutIndex from, const std::byte* source, pfhost::LayoutIndex to, std::byte* destination,
             std::uint64_t count);

 private:
  cmsHTRANSFORM NewHop(const COR_XCE_Profile& from, cmsUInt32Number from_format, const COR_XCE_Profile& to,
                       cmsUInt32Number to_format, cmsUInt32Number more_flags = 0) const;
  cmsHTRANSFORM Integer(pfhost::LayoutIndex from, pfhost::LayoutIndex to);
  void ApplyInteger(pfhost::LayoutIndex from, const std::byte* source, pfhost::LayoutIndex to, std::byte* destination,
                    std::uint64_t count);
  void ApplyFloatRun(pfhost::PixelFloat* pixels, std::uint64_t count) const;

  cmsUInt32Number intent_, flags_;
  bool clip_float_;
  boost::shared_ptr<const COR_XCE_Profile> source_, destination_;
  std::unique_ptr<pfhost::Shaper> shaper_;   // the whole way, or null
  std::vector<pfhost::LcmsTransform> hops_;  // float; colours are limited between them
  std::atomic<cmsHTRANSFORM> integer_[2][2] = {};
};

XCETransform::XCETransform(const COR_XCE_Profile* source, const COR_XCE_Profile* destination,
                           const COR_XCE_TransformOptions& options)
    : intent_(static_cast<cmsUInt32Number>(options.intent)),
      flags_(cmsFLAGS_NOCACHE | (options.black_point_compensation != 0 ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0u)),
      clip_float_(options.clip_float != 0),
      source_(pfhost::OrDefault(source).shared_from_this()),
      destination_(pfhost::OrDefault(destination).shared_from_this()) {
  std::vector<const COR_XCE_Profile*> stops = {source_.get()};
  for (const COR_XCE_Profile* proof : options.proofs) {
    if (proof != nullptr) stops.push_back(proof);
  }
  stops.push_back(destination_.get());
  const std::lock_guard lock(pfhost::LcmsLock());
  if (stops.size() == 2 && options.intent != XCE_Intent_ABSOLUTE_COLORIMETRIC) {
    shaper_ = pfhost::Shaper::Make(*source_, *destination_);
    const bool compensates = options.black_point_compensation != 0;
    if (shaper_ != nullptr && compensates && !shaper_->KeepsBlack()) shaper_ = nullptr;
    if (shaper_ != nullptr) return;
  }
  for (std::size_t i = 0; i + 1 < stops.size(); ++i) {
    hops_.emplace_back(NewHop(*stops[i], TYPE_ARGB_FLT, *stops[i + 1], TYPE_ARGB_FLT));
  }
}

XCETransform::~XCETransform() {
  for (auto& row : integer_) {
    for (auto& transform : row) pfhost::LcmsTransform(transform.load());
  }
}

// Called under LcmsLock().
cmsHTRANSFORM XCETransform::NewHop(const COR_XCE_Profile& from, cmsUInt32Number from_format, const COR_XCE_Profile& to,
                                   cmsUInt32Number to_format, cmsUInt32Number more_flags) const {
  const cmsHTRANSFORM hop = cmsCreateTransformTHR(pfhost::TheLcms(), from.rgb.get(), from_format, to.rgb.get(),
                                                  to_format, intent_, flags_ | more_flags);
  if (hop == nullptr) pfhost::Fail(XCE_ERR_NO_TRANSFORM);
  return hop;
}

cmsHTRANSFORM XCETransform::Integer(pfhost::LayoutIndex from, pfhost::LayoutIndex to) {
  std::atomic<cmsHTRANSFORM>& kept = integer_[from][to];
  if (cmsHTRANSFORM made = kept.load(std::memory_order_acquire)) return made;
  const std::lock_guard lock(pfhost::LcmsLock());
  if (cmsHTRANSFORM made = kept.load(std::memory_order_acquire)) return made;
  // Curves beside the tables halve the speed and the errors; 8 bits are not worth it.
  const bool coarse = from == pfhost::kEight && to == pfhost::kEight;
  const cmsUInt32Number fine = coarse ? 0u : cmsFLAGS_CLUT_PRE_LINEARIZATION | cmsFLAGS_CLUT_POST_LINEARIZATION;
  const cmsHTRANSFORM made =
      NewHop(*source_, pfhost::kTraits[from].format, *destination_, pfhost::kTraits[to].format, fine);
  kept.store(made, std::memory_order_release);
  return made;
}

void XCETransform::ApplyInteger(pfhost::LayoutIndex from, const std::byte* source, pfhost::LayoutIndex to,
                                std::byte* destination, std::uint64_t count) {
  const cmsHTRANSFORM transform = Integer(from, to);
  for (std::uint64_t done = 0; done < count; done += pfhost::kLongRun) {
    cmsDoTransform(transform, source + done * pfhost::kTraits[from].pixel_bytes,
                   destination + done * pfhost::kTraits[to].pixel_bytes,
                   static_cast<cmsUInt32Number>(std::min(count - done, pfhost::kLongRun)));
  }
}

void XCETransform::ApplyFloatRun(pfhost::PixelFloat* pixels, std::uint64_t count) const {
  for (std::size_t i = 0; i < hops_.size(); ++i) {
    cmsDoTransform(hops_[i].get(), pixels, pixels, static_cast<cmsUInt32Number>(count));
    if (i + 1 < hops_.size() || clip_float_) pfhost::LimitColour(pixels, count);
  }
}

void XCETransform::Apply(pfhost::LayoutIndex from, const std::byte* source, pfhost::LayoutIndex to,
                         std::byte* destination, std::uint64_t count) {
  if (shaper_ != nullptr) return shaper_->Apply(from, source, to, destination, count, clip_float_);
  if (hops_.size() == 1 && from != pfhost::kFloat && to != pfhost::kFloat) {
    return ApplyInteger(from, source, to, destination, count);
  }
  pfhost::PixelFloat run[pfhost::kRun];
  for (std::uint64_t done = 0; done < count; done += pfhost::kRun) {
    const std::uint64_t size = std::min(count - done, pfhost::kRun);
    pfhost::LoadFloats(from, source + done * pfhost::kTraits[from].pixel_bytes, run, size);
    ApplyFloatRun(run, size);
    pfhost::StoreFloats(to, run, destination + done * pfhost::kTraits[to].pixel_bytes, size);
  }
}

U_Err COR_NewTransform(const COR_XCE_Profile* source, const COR_XCE_Profile* destination,
                       const COR_XCE_TransformOptions* options, COR_XCE_Transform* out) {
  if (out == nullptr) return XCE_ERR_BAD_PARAMETER;
  COR_XCE_TransformOptions used = {};
  used.intent = XCE_Intent_RELATIVE_COLORIMETRIC;
  if (options != nullptr) used = *options;
  if (!pfhost::KnownIntent(used.intent)) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] { *out = new XCETransform(source, destination, used); });
}

void COR_ReleaseTransform(COR_XCE_Transform transform) { delete transform; }

U_Err COR_ApplyTransform(COR_XCE_Transform transform, XCE_Layout source_layout, const void* source,
                         XCE_Layout destination_layout, void* destination, std::uint64_t count) {
  if (transform == nullptr) return XCE_ERR_BAD_PARAMETER;
  if (count > 0 && (source == nullptr || destination == nullptr)) return XCE_ERR_BAD_PARAMETER;
  const auto apply = [&](std::uint64_t first, std::uint64_t pixels) {
    return pfhost::EngineCall([&] {
      const pfhost::LayoutIndex from = pfhost::IndexOf(source_layout), to = pfhost::IndexOf(destination_layout);
      transform->Apply(from, static_cast<const std::byte*>(source) + first * pfhost::kTraits[from].pixel_bytes, to,
                       static_cast<std::byte*>(destination) + first * pfhost::kTraits[to].pixel_bytes, pixels);
    });
  };
  if (count < 2 * pfhost::kPart || U_GetNumThreads() < 2) return apply(0, count);
  // Pixels are independent, so long runs are shared out.
  const auto parts = static_cast<std::int64_t>((count + pfhost::kPart - 1) / pfhost::kPart);
  const auto part = [&](std::int32_t, std::int64_t i) {
    const std::uint64_t first = static_cast<std::uint64_t>(i) * pfhost::kPart;
    return apply(first, std::min(pfhost::kPart, count - first));
  };
  return pfhost::RunParts(parts, part, [] { return U_Err{0}; });
}
