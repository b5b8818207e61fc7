// libvips on one thread: a pipeline from memory to memory, which allocates its result.
#include <vips/vips.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <utility>

#include "PF/PF_TransferModes.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

constexpr const char* kRemark = "allocates its result";

// A reference to an image.
class Image {
 public:
  explicit Image(VipsImage* image = nullptr) : image_(image) {}
  Image(Image&& other) noexcept : image_(std::exchange(other.image_, nullptr)) {}
  Image& operator=(Image&& other) noexcept {
    std::swap(image_, other.image_);
    return *this;
  }
  ~Image() {
    if (image_ != nullptr) g_object_unref(image_);
  }
  VipsImage* get() const { return image_; }

 private:
  VipsImage* image_;
};

[[noreturn]] void Fail() {
  const std::string message = vips_error_buffer();
  vips_error_clear();
  throw std::runtime_error("libvips: " + message);
}

// Hands `call` the place for the next image of a pipeline.
template <class Call>
Image Step(Call call) {
  VipsImage* out = nullptr;
  if (call(&out) != 0) Fail();
  return Image(out);
}

VipsBandFormat FormatOf(std::int32_t depth) {
  return depth == 8 ? VIPS_FORMAT_UCHAR : depth == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_FLOAT;
}

// Rows without padding, alpha last.
struct Source {
  std::vector<std::byte> bytes;
  Size size;
  std::int32_t depth;

  explicit Source(const Picture& picture) : bytes(picture.bytes()), size(picture.size()), depth(picture.depth()) {
    const std::shared_ptr<Picture> moved = AlphaLast(picture, false);
    for (std::int32_t y = 0; y < size.height; ++y) {
      const std::size_t row_bytes = picture.used_row_bytes();
      std::copy_n(moved->row(y), row_bytes, bytes.data() + row_bytes * static_cast<std::size_t>(y));
    }
  }

  Image Open() const {
    Image image(vips_image_new_from_memory(bytes.data(), bytes.size(), size.width, size.height, 4, FormatOf(depth)));
    if (image.get() == nullptr) Fail();
    return image;
  }
};

void Write(const Image& image, Size size) {
  if (vips_image_get_width(image.get()) != size.width || vips_image_get_height(image.get()) != size.height) {
    throw std::runtime_error("libvips made another size");
  }
  std::size_t bytes = 0;
  void* memory = vips_image_write_to_memory(image.get(), &bytes);
  if (memory == nullptr) Fail();
  g_free(memory);
}

Image Cast(const Image& in, std::int32_t depth) {
  return Step([&](VipsImage** out) { return vips_cast(in.get(), out, FormatOf(depth), nullptr); });
}

void AddConversion(const Task& task, std::vector<Contender>& contenders) {
  const std::int32_t from = task.src.depth(), to = task.dst.depth();
  const double scale = FullValue(to) / FullValue(from), round = to == 32 ? 0.0 : 0.5;
  contenders.push_back({"libvips linear", "", kRemark,
                        [src = std::make_shared<Source>(task.src), size = task.dst.size(), to, scale, round] {
                          const Image in = src->Open();
                          const Image scaled =
                              Step([&](VipsImage** out) { return vips_linear1(in.get(), out, scale, round, nullptr); });
                          Write(Cast(scaled, to), size);
                        }});
}

void Resize(const Source& src, Size size, VipsKernel kernel, bool weighted) {
  const double full = FullValue(src.depth);
  Image image = src.Open();
  if (weighted) {
    image = Step([&](VipsImage** out) { return vips_premultiply(image.get(), out, "max_alpha", full, nullptr); });
  }
  image = Step([&](VipsImage** out) {
    return vips_resize(image.get(), out, double{1} * size.width / src.size.width, "vscale",
                       double{1} * size.height / src.size.height, "kernel", kernel, nullptr);
  });
  if (weighted) {
    image = Step([&](VipsImage** out) { return vips_unpremultiply(image.get(), out, "max_alpha", full, nullptr); });
  }
  Write(Cast(image, src.depth), size);
}

void AddResize(const Task& task, const char* name, VipsKernel kernel, bool weighted,
               std::vector<Contender>& contenders) {
  contenders.push_back(
      {name, "", kRemark, [src = std::make_shared<Source>(task.src), size = task.dst.size(), kernel, weighted] {
         Resize(*src, size, kernel, weighted);
       }});
}

void AddAlphaConvention(const Task& task, std::vector<Contender>& contenders) {
  const bool divides = task.work == Work::kToStraight;
  contenders.push_back(
      {divides ? "libvips unpremultiply" : "libvips premultiply", "", kRemark,
       [src = std::make_shared<Source>(task.src), size = task.dst.size(), divides] {
         const Image in = src->Open();
         const double full = FullValue(src->depth);
         const auto call = divides ? &vips_unpremultiply : &vips_premultiply;
         Write(Cast(Step([&](VipsImage** out) { return call(in.get(), out, "max_alpha", full, nullptr); }), src->depth),
               size);
       }});
}

// Straight alpha in and out, as composite2 takes it. In linear light the colours go there and back by the library's own
// tables of the standard space, 8 bits only.
void AddLaying(const Task& task, std::vector<Contender>& contenders) {
  struct Mode {
    std::int32_t mode;
    VipsBlendMode blend;
  };
  constexpr Mode kModes[] = {{PF_Xfer_Over, VIPS_BLEND_MODE_OVER},
                             {PF_Xfer_Multiply, VIPS_BLEND_MODE_MULTIPLY},
                             {PF_Xfer_Screen, VIPS_BLEND_MODE_SCREEN},
                             {PF_Xfer_HardLight, VIPS_BLEND_MODE_HARD_LIGHT},
                             {PF_Xfer_PremulOntoPremul, VIPS_BLEND_MODE_OVER}};
  const auto* found = std::find_if(std::begin(kModes), std::end(kModes),
                                   [&](const Mode& mode) { return mode.mode == task.laying.mode; });
  if (found == std::end(kModes) || (task.laying.linear && task.src.depth() != 8)) return;
  const bool premultiplied = task.laying.mode == PF_Xfer_PremulOntoPremul;
  const VipsInterpretation stored = task.src.depth() == 8    ? VIPS_INTERPRETATION_sRGB
                                    : task.src.depth() == 16 ? VIPS_INTERPRETATION_RGB16
                                                             : VIPS_INTERPRETATION_scRGB;
  const VipsInterpretation space = task.laying.linear ? VIPS_INTERPRETATION_scRGB : stored;
  contenders.push_back(
      {"libvips composite2", "", kRemark,
       [=, src = std::make_shared<Source>(task.src), base = std::make_shared<Source>(*task.src.second),
        blend = found->blend] {
         const auto open = [&](const Source& from) {
           const Image raw = from.Open();
           return Step([&](VipsImage** out) { return vips_copy(raw.get(), out, "interpretation", stored, nullptr); });
         };
         const Image below = open(*base), above = open(*src);
         const Image both = Step([&](VipsImage** out) {
           return vips_composite2(below.get(), above.get(), out, blend, "compositing_space", space, "premultiplied",
                                  premultiplied ? TRUE : FALSE, nullptr);
         });
         if (space == stored) return Write(Cast(both, src->depth), src->size);
         const Image back = Step([&](VipsImage** out) { return vips_colourspace(both.get(), out, stored, nullptr); });
         Write(Cast(back, src->depth), src->size);
       }});
}

// A mask as wide as ours. Sums every weight.
void AddGaussianBlur(const Task& task, std::vector<Contender>& contenders) {
  const double radius = task.scan.radius, sigma = (radius + 1) / 2.18;
  if (radius > 50) return;
  const double ends_at = std::exp(-(radius * radius) / (2 * sigma * sigma));
  contenders.push_back({"libvips gaussblur", task.work == Work::kBlurStraight ? kNoAlphaWeights : "",
                        "integer depths: whole weights; allocates its result",
                        [=, src = std::make_shared<Source>(task.src), size = task.dst.size()] {
                          const Image in = src->Open();
                          Write(Step([&](VipsImage** out) {
                                  return vips_gaussblur(
                                      in.get(), out, sigma, "min_ampl", 0.999 * ends_at, "precision",
                                      src->depth == 32 ? VIPS_PRECISION_FLOAT : VIPS_PRECISION_INTEGER, nullptr);
                                }),
                                size);
                        }});
}

// Starts the library on one thread, without the memory of earlier results.
bool Start() {
  if (vips_init("bench") != 0) Fail();
  vips_concurrency_set(1);
  vips_cache_set_max(0);
  return true;
}

void AddLibvips(const Task& task, std::vector<Contender>& contenders) {
  static const bool started = Start();
  static_cast<void>(started);
  switch (task.work) {
    case Work::kConvert:
      AddConversion(task, contenders);
      break;
    case Work::kReplicate:
      AddResize(task, "libvips nearest", VIPS_KERNEL_NEAREST, false, contenders);
      break;
    case Work::kStraight:
      AddResize(task, task.opaque ? "libvips linear" : "libvips linear, straight alpha", VIPS_KERNEL_LINEAR,
                !task.opaque, contenders);
      break;
    case Work::kPremultiplied:
      AddResize(task, "libvips linear", VIPS_KERNEL_LINEAR, false, contenders);
      break;
    case Work::kToPremultiplied:
    case Work::kToStraight:
      AddAlphaConvention(task, contenders);
      break;
    case Work::kBlurBell:
    case Work::kBlurStraight:
      AddGaussianBlur(task, contenders);
      break;
    case Work::kTransfer:
      AddLaying(task, contenders);
      break;
    default:
      break;
  }
}

const PeerRegistration kRegistration({"libvips", VIPS_VERSION, &AddLibvips});

}  // namespace
}  // namespace pfbench
