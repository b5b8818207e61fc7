// zimg. Conversions run on our interleaved rows as one grey plane; scaling works on four planes, which
// is how zimg wants its pictures, so taking pixels apart and putting them together is not counted.
#include <zimg.h>

#include <memory>
#include <stdexcept>

#include "peers/Peers.h"

namespace pfbench {
namespace {

[[noreturn]] void Fail() {
  char message[256] = "";
  zimg_get_last_error(message, sizeof message);
  throw std::runtime_error(std::string("zimg: ") + message);
}

// A graph with its scratch memory.
class Graph {
 public:
  Graph(const zimg_image_format& src, const zimg_image_format& dst, const zimg_graph_builder_params& params)
      : graph_(zimg_filter_graph_build(&src, &dst, &params)), scratch_(ScratchSize()) {}

  void Process(const zimg_image_buffer_const& src, const zimg_image_buffer& dst) const {
    if (zimg_filter_graph_process(graph_.get(), &src, &dst, scratch_.data(), nullptr, nullptr, nullptr, nullptr) != 0) {
      Fail();
    }
  }

 private:
  struct Free {
    void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
  };
  std::size_t ScratchSize() const {
    std::size_t size = 0;
    if (graph_ == nullptr || zimg_filter_graph_get_tmp_size(graph_.get(), &size) != 0) Fail();
    return size;
  }

  std::unique_ptr<zimg_filter_graph, Free> graph_;
  AlignedBytes scratch_;
};

zimg_image_format FormatOf(const Picture& picture) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = static_cast<unsigned>(picture.width());
  format.height = static_cast<unsigned>(picture.height());
  format.pixel_type = picture.depth() == 8    ? ZIMG_PIXEL_BYTE
                      : picture.depth() == 16 ? ZIMG_PIXEL_WORD
                                              : ZIMG_PIXEL_FLOAT;
  format.depth = static_cast<unsigned>(picture.depth());
  format.pixel_range = ZIMG_RANGE_FULL;
  return format;
}

zimg_image_format GreyFormat(const Picture& picture) {
  zimg_image_format format = FormatOf(picture);
  format.width *= 4;
  format.color_family = ZIMG_COLOR_GREY;
  return format;
}

zimg_image_format PlanesFormat(const Picture& picture, zimg_alpha_type_e alpha) {
  zimg_image_format format = FormatOf(picture);
  format.color_family = ZIMG_COLOR_RGB;
  format.matrix_coefficients = ZIMG_MATRIX_RGB;
  format.alpha = alpha;
  return format;
}

zimg_graph_builder_params Params() {
  zimg_graph_builder_params params;
  zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
  return params;
}

// Red, green, blue and alpha of a picture, each in a plane of the picture's channel type.
class Planes {
 public:
  explicit Planes(const Picture& like)
      : row_bytes_((like.width() * like.depth() / 8 + 63) / 64 * 64),
        plane_bytes_(std::ptrdiff_t{row_bytes_} * like.height()),
        memory_(static_cast<std::size_t>(4 * plane_bytes_)) {}

  void Take(const Picture& picture) {
    WithChannel(picture.depth(), [&](auto zero) {
      using Channel = decltype(zero);
      for (std::int32_t y = 0; y < picture.height(); ++y) {
        for (int plane = 0; plane < 4; ++plane) {
          const auto* in = picture.row<Channel>(y) + (plane + 1) % 4;
          auto* out =
              reinterpret_cast<Channel*>(memory_.data() + plane * plane_bytes_ + std::ptrdiff_t{y} * row_bytes_);
          for (std::int32_t x = 0; x < picture.width(); ++x) out[x] = in[4 * x];
        }
      }
    });
  }

  template <class Buffer>
  Buffer Wrap() const {
    Buffer buffer = {};
    buffer.version = ZIMG_API_VERSION;
    for (int plane = 0; plane < 4; ++plane) {
      buffer.plane[plane] = {memory_.data() + plane * plane_bytes_, row_bytes_, ZIMG_BUFFER_MAX};
    }
    return buffer;
  }

 private:
  std::int32_t row_bytes_;
  std::ptrdiff_t plane_bytes_;
  AlignedBytes memory_;
};

void AddConversion(const Task& task, const char* name, zimg_dither_type_e dither, std::vector<Contender>& contenders) {
  zimg_graph_builder_params params = Params();
  params.dither_type = dither;
  const auto graph = std::make_shared<Graph>(GreyFormat(task.src), GreyFormat(task.dst), params);
  const auto result = std::make_shared<Picture>(task.dst.size(), task.dst.depth());
  zimg_image_buffer_const src = {ZIMG_API_VERSION, {}};
  src.plane[0] = {task.src.row(0), task.src.row_bytes(), ZIMG_BUFFER_MAX};
  zimg_image_buffer dst = {ZIMG_API_VERSION, {}};
  dst.plane[0] = {result->row(0), result->row_bytes(), ZIMG_BUFFER_MAX};
  contenders.push_back({name, "", "16 bits: full value 65535; alpha limited instead of wrapped",
                        [graph, result, src, dst] { graph->Process(src, dst); }});
}

void AddResize(const Task& task, const char* name, zimg_resample_filter_e filter, zimg_alpha_type_e alpha,
               const char* remark, std::vector<Contender>& contenders) {
  zimg_graph_builder_params params = Params();
  params.resample_filter = filter;
  const auto graph = std::make_shared<Graph>(PlanesFormat(task.src, alpha), PlanesFormat(task.dst, alpha), params);
  const auto src = std::make_shared<Planes>(task.src), dst = std::make_shared<Planes>(task.dst);
  src->Take(task.src);
  contenders.push_back({name, "", remark, [graph, src, dst] {
                          graph->Process(src->Wrap<zimg_image_buffer_const>(), dst->Wrap<zimg_image_buffer>());
                        }});
}

void AddZimg(const Task& task, std::vector<Contender>& contenders) {
  switch (task.work) {
    case Work::kConvert:
      AddConversion(task, "zimg convert", ZIMG_DITHER_NONE, contenders);
      break;
    case Work::kDither:
      AddConversion(task, "zimg random dither", ZIMG_DITHER_RANDOM, contenders);
      break;
    case Work::kReplicate:
      AddResize(task, "zimg point", ZIMG_RESIZE_POINT, ZIMG_ALPHA_PREMULTIPLIED, "four planes", contenders);
      break;
    case Work::kStraight:
    case Work::kPremultiplied: {
      const bool weighted = task.work == Work::kStraight && !task.opaque;
      AddResize(
          task, weighted ? "zimg bilinear, straight alpha" : "zimg bilinear", ZIMG_RESIZE_BILINEAR,
          weighted ? ZIMG_ALPHA_STRAIGHT : ZIMG_ALPHA_PREMULTIPLIED,
          task.Enlarges() ? "four planes" : "four planes; reducing: a triangle of twice the width instead of a box",
          contenders);
      break;
    }
    default:
      break;
  }
}

std::string Version() {
  unsigned major = 0, minor = 0, micro = 0;
  zimg_get_version_info(&major, &minor, &micro);
  return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(micro);
}

const PeerRegistration kRegistration({"zimg", Version(), &AddZimg});

}  // namespace
}  // namespace pfbench
