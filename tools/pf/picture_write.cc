#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "codec_quiet.h"
#include "engine.h"
#include "failure.h"
#include "output_file.h"
#include "picture.h"

namespace pftool {
namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;

constexpr int kBandRows = 64;

const char* DepthText(int depth) { return depth == 32 ? "32-bit float" : depth == 16 ? "16 bits" : "8 bits"; }

template <class Pixel, class Value>
bool AllAlpha(const PF_World& world, Value full) {
  for (int y = 0; y < world.height; ++y) {
    const auto* row = reinterpret_cast<const Pixel*>(static_cast<const std::byte*>(world.data) +
                                                     static_cast<std::ptrdiff_t>(y) * world.row_bytes);
    if (!std::all_of(row, row + world.width, [full](const Pixel& pixel) { return pixel.alpha >= full; })) return false;
  }
  return true;
}

bool IsOpaque(const PF_World& world) {
  if (world.Depth() == 8) return AllAlpha<PF_Pixel8>(world, std::uint8_t{PF_MAX_CHAN8});
  if (world.Depth() == 16) return AllAlpha<PF_Pixel16>(world, std::uint16_t{PF_MAX_CHAN16});
  return AllAlpha<PF_PixelFloat>(world, 1.0f);
}

// The smallest set of channels in the format that holds `wanted` ones; 0 when there is none.
int HeldChannels(const FileFormat& format, int wanted) {
  static const char* const kSupersets[] = {"", "134", "24", "34", "4"};
  for (const char* candidate = kSupersets[wanted]; *candidate; ++candidate) {
    if (format.HoldsChannels(*candidate - '0')) return *candidate - '0';
  }
  return 0;
}

int ChooseChannels(const PF_World& world, const PictureFacts& like, const WriteRequest& request, Reporter* reporter) {
  const FileFormat& format = *request.format;
  if (const int held = HeldChannels(format, like.channels)) return held;
  if (like.has_alpha() && IsOpaque(world)) {
    reporter->Note(fmt::format("{}: every pixel is opaque, so alpha is left out of the {} file",
                               QuotedOutput(request.path), format.name));
    return HeldChannels(format, like.channels - 1);
  }
  throw UsageFailure("cannot write", QuotedOutput(request.path),
                     fmt::format("{} files hold no alpha and the picture is not opaque", format.name),
                     "write a .png, .tif or .exr file");
}

int ChooseDepth(const PF_World& world, const WriteRequest& request, Reporter* reporter) {
  const int depth = world.Depth(), held = request.format->DepthFor(depth);
  if (held == depth) return depth;
  if (held < depth && request.depth_was_asked) {
    throw UsageFailure("cannot write", QuotedOutput(request.path),
                       fmt::format("{} files do not hold {}", request.format->name, DepthText(depth)),
                       fmt::format("give --depth {} or write a .tif or .exr file", held));
  }
  reporter->Note(
      fmt::format("{} files do not hold {}, written with {}", request.format->name, DepthText(depth), DepthText(held)));
  return held;
}

// Brings the colours into the convention of the format, unless the picture came from the same format with
// the other convention: then its owner wants it so.
Alpha FitAlpha(PF_World* world, Alpha alpha, const PictureFacts& like, const FileFormat& format, Reporter* reporter) {
  if (alpha == Alpha::kNone || format.alpha == AlphaRule::kEither || format.alpha == AlphaRule::kNone) return alpha;
  const Alpha wanted = format.alpha == AlphaRule::kStraight ? Alpha::kStraight : Alpha::kPremultiplied;
  if (alpha == wanted) return alpha;
  if (like.format == format.plugin && like.alpha == alpha) {
    reporter->Note(fmt::format("{} files usually hold {}, these stay {} as they were", format.name, AlphaText(wanted),
                               alpha == Alpha::kStraight ? "straight" : "premultiplied"));
    return alpha;
  }
  Guarded("cannot write", "the alpha",
          [&] { wanted == Alpha::kStraight ? world->Unmultiply() : world->Premultiply(); });
  reporter->Note(fmt::format("converted to {}, as {} files hold it", AlphaText(wanted), format.name));
  return wanted;
}

// Metadata that describe how the old file was stored, and would be wrong or lossy in the new one.
void DropStorageAttributes(ImageSpec* spec, bool same_format) {
  for (const char* name : {"oiio:BitsPerSample",
                           "oiio:UnassociatedAlpha",
                           "tiff:UnassociatedAlpha",
                           "oiio:subimages",
                           "textureformat",
                           "wrapmodes",
                           "openexr:levelmode",
                           "openexr:roundingmode",
                           "openexr:chunkCount",
                           "oiio:ConstantColor",
                           "oiio:AverageColor",
                           "oiio:SHA-1",
                           "planarconfig",
                           "tiff:PhotometricInterpretation",
                           "tiff:PlanarConfiguration",
                           "tiff:RowsPerStrip",
                           "tiff:Compression",
                           "tiff:ColorSpace",
                           "jpeg:subsampling",
                           "dpx:EndianSwap"}) {
    spec->erase_attribute(name);
  }
  // What the reader found inside the profile is found there again.
  spec->erase_attribute("(thumbnail|ICCProfile:).*");
  const std::string compression = spec->get_string_attribute("compression");
  static const char* const kLossless[] = {"none", "lzw", "zip", "zips", "piz", "rle", "packbits", "deflate"};
  const bool lossless =
      std::any_of(std::begin(kLossless), std::end(kLossless), [&](const char* name) { return compression == name; });
  if (!same_format || !lossless) spec->erase_attribute("compression");
}

void KeepWindow(ImageSpec* spec, const PictureFacts& like, Reporter* reporter) {
  const ImageSpec& old = like.spec;
  if (spec->width == old.width && spec->height == old.height) {
    spec->x = old.x, spec->y = old.y;
    spec->full_x = old.full_x, spec->full_y = old.full_y;
    spec->full_width = old.full_width, spec->full_height = old.full_height;
    return;
  }
  if (old.x != old.full_x || old.y != old.full_y || old.width != old.full_width || old.height != old.full_height) {
    reporter->Note("the display window differs from the pixels; the result's window is its pixels");
  }
}

// The writer's Exif part does not get along with libtiff 4.5 and spoils the file.
void LeaveExifOut(ImageSpec* spec, Reporter* reporter) {
  const bool has_exif = std::any_of(spec->extra_attribs.begin(), spec->extra_attribs.end(), [](const auto& attribute) {
    return attribute.name().string().rfind("Exif:", 0) == 0;
  });
  if (has_exif) reporter->Note("Exif data are left out of tiff files; all other metadata are kept");
  spec->attribute("tiff:write_exif", 0);
}

ImageSpec SpecFor(const PF_World& world, const WrittenFacts& facts, const PictureFacts& like,
                  const WriteRequest& request, Reporter* reporter) {
  const FileFormat& format = *request.format;
  const TypeDesc type = facts.depth == 8    ? TypeDesc::UINT8
                        : facts.depth == 16 ? TypeDesc::UINT16
                        : facts.is_half     ? TypeDesc::HALF
                                            : TypeDesc::FLOAT;
  ImageSpec spec(world.width, world.height, facts.channels, type);
  spec.extra_attribs = like.spec.extra_attribs;
  DropStorageAttributes(&spec, like.format == format.plugin);
  KeepWindow(&spec, like, reporter);
  if (facts.channels == like.file_channels && like.file_channels == like.channels) {
    spec.channelnames = like.spec.channelnames;
  } else if (facts.channels == 2) {
    spec.channelnames = {"Y", "A"};
  }
  const bool alpha = facts.channels == 2 || facts.channels == 4;
  spec.alpha_channel = alpha ? facts.channels - 1 : -1;
  const bool unassociated =
      format.alpha == AlphaRule::kStraight || (format.alpha == AlphaRule::kEither && facts.alpha == Alpha::kStraight);
  if (alpha && unassociated) spec.attribute("oiio:UnassociatedAlpha", 1);
  if (spec.find_attribute("Exif:PixelXDimension")) spec.attribute("Exif:PixelXDimension", world.width);
  if (spec.find_attribute("Exif:PixelYDimension")) spec.attribute("Exif:PixelYDimension", world.height);
  if (std::string(format.plugin) == "tiff") LeaveExifOut(&spec, reporter);
  if (std::string(format.plugin) == "jpeg") {
    spec.attribute("compression", "jpeg:95");
    spec.attribute("jpeg:subsampling", "4:4:4");
  }
  return spec;
}

void NoteEncoding(const PictureFacts& like, const WriteRequest& request, Reporter* reporter) {
  if (request.format->lossy) reporter->Note(fmt::format("{} files are lossy", request.format->name));
  const bool linear = like.encoding == "Linear" || like.encoding == "linear" || like.encoding == "scene_linear" ||
                      like.encoding == "lin_srgb";
  const std::string plugin = request.format->plugin;
  const bool to_exr = plugin == "openexr", holds_profile = plugin == "png" || plugin == "jpeg" || plugin == "tiff";
  if (like.spec.find_attribute("ICCProfile") && !holds_profile) {
    reporter->Note(fmt::format("{} files hold no profile, so it is left out", request.format->name));
  }
  if (to_exr && !linear) {
    reporter->Note(
        fmt::format("exr files usually hold linear light, these values stay as they were ({})", like.encoding));
  } else if (!to_exr && linear && request.format->holds8) {
    reporter->Note(fmt::format("the values stay linear, and most readers of {} files expect another encoding",
                               request.format->name));
  }
}

Failure WriterFailure(const WriteRequest& request, const std::string& message) {
  const std::string why = message.substr(0, message.find('\n'));
  return {ExitCode::kInputOutput, "cannot write", QuotedOutput(request.path),
          why.empty() ? "the writer failed" : "the writer failed (" + why + ")", "write another format"};
}

/// A writer for one file. One that did not finish is left alone for the rest of the process: its destructor
/// would complete the file first, with empty rows, and some codecs print what they think of that.
class Writer {
 public:
  explicit Writer(const WriteRequest& request) : output_(OIIO::ImageOutput::create(request.format->plugin)) {
    if (!output_) throw WriterFailure(request, OIIO::geterror());
  }
  ~Writer() {
    static auto* const abandoned = new std::vector<OIIO::ImageOutput*>;
    if (!finished_) abandoned->push_back(output_.release());
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  OIIO::ImageOutput* get() { return output_.get(); }
  void Finished() { finished_ = true; }

 private:
  std::unique_ptr<OIIO::ImageOutput> output_;
  bool finished_ = false;
};

// One call into the writer. What it says counts only when the file system did not fail first.
template <class Call>
void CallWriter(OIIO::ImageOutput* output, const OutputFile& file, const WriteRequest& request, Call call) {
  bool ok = false;
  std::string message;
  {
    const CodecQuiet quiet;
    ok = call();
    message = output->geterror();
  }
  file.CheckWritten();
  if (!ok || !message.empty()) throw WriterFailure(request, message);
}

void WriteBands(const PF_World& world, const WrittenFacts& facts, const WriteRequest& request, OutputFile* file,
                OIIO::ImageOutput* output, Reporter* reporter) {
  const TypeDesc type = facts.depth == 8 ? TypeDesc::UINT8 : facts.depth == 16 ? TypeDesc::UINT16 : TypeDesc::FLOAT;
  const std::size_t row_bytes =
      static_cast<std::size_t>(world.width) * static_cast<std::size_t>(facts.channels) * type.size();
  std::vector<std::byte> band(row_bytes * kBandRows);
  const auto* pixels = static_cast<const std::byte*>(world.data);
  for (int first = 0; first < world.height; first += kBandRows) {
    const int rows = std::min(kBandRows, world.height - first);
    for (int y = 0; y < rows; ++y) {
      RowFromWorld(pixels + static_cast<std::ptrdiff_t>(first + y) * world.row_bytes, facts.depth, facts.channels,
                   world.width, band.data() + static_cast<std::size_t>(y) * row_bytes);
    }
    CallWriter(output, *file, request, [&] {
      const int y = output->spec().y + first;
      return output->write_scanlines(y, y + rows, output->spec().z, type, band.data());
    });
    reporter->Rows(first + rows, world.height);
  }
}

}  // namespace

WrittenFacts WritePicture(WorldPtr world, Alpha alpha, const PictureFacts& like, const WriteRequest& request,
                          Reporter* reporter) {
  const std::string where = QuotedOutput(request.path);
  WrittenFacts facts = {};
  facts.width = world->width, facts.height = world->height;
  facts.channels = ChooseChannels(*world, like, request, reporter);
  facts.depth = ChooseDepth(*world, request, reporter);
  facts.is_half = facts.depth == 32 && (!request.format->holds_float || (like.is_half && request.format->holds_half));
  // Alpha is multiplied or divided at the deeper of the two depths.
  if (facts.depth > world->Depth()) world = Converted(std::move(world), facts.depth, false, where, nullptr);
  facts.alpha = FitAlpha(world.get(), alpha, like, *request.format, reporter);
  world = Converted(std::move(world), facts.depth, false, where, nullptr);
  NoteEncoding(like, request, reporter);

  OutputFile file(request.path, request.overwrite);
  Writer output(request);
  ImageSpec spec = SpecFor(*world, facts, like, request, reporter);
  OIIO::Filesystem::IOProxy* proxy = file.proxy();
  spec.attribute("oiio:ioproxy", TypeDesc::PTR, &proxy);
  CallWriter(output.get(), file, request, [&] { return output.get()->open(request.path, spec); });
  WriteBands(*world, facts, request, &file, output.get(), reporter);
  CallWriter(output.get(), file, request, [&] { return output.get()->close(); });
  output.Finished();
  file.Commit();
  return facts;
}

}  // namespace pftool
