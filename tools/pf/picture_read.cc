#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <vector>

#include "codec_quiet.h"
#include "engine.h"
#include "failure.h"
#include "picture.h"

namespace pftool {
namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;

Failure NoInput(const std::string& name, const std::string& why, const std::string& next) {
  return {ExitCode::kNoInput, "cannot read", QuotedInput(name), why, next};
}

Failure BadData(const std::string& name, const std::string& why, const std::string& next) {
  return {ExitCode::kBadData, "cannot read", QuotedInput(name), why, next};
}

/// One line without the file's name, since codecs like to repeat themselves.
std::string FirstLine(std::string text) {
  text = text.substr(0, text.find('\n'));
  while (!text.empty() && (text.back() == '.' || text.back() == ' ')) text.pop_back();
  return text;
}

void CheckReadable(const std::string& path, const std::string& name) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) throw NoInput(name, ErrorText(errno), "check the name");
  if (S_ISDIR(status.st_mode)) throw NoInput(name, "it is a folder", "name the picture files in it");
  if (::access(path.c_str(), R_OK) != 0) throw NoInput(name, ErrorText(errno), "ask for the right to read it");
  if (S_ISREG(status.st_mode) && status.st_size == 0) {
    throw BadData(name, "the file is empty", "get a complete copy");
  }
}

std::unique_ptr<OIIO::ImageInput> Open(const std::string& path, const std::string& name) {
  CheckReadable(path, name);
  ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const CodecQuiet quiet;
  auto input = OIIO::ImageInput::open(path, &config);
  const std::string why = FirstLine(OIIO::geterror());
  if (!input) {
    throw BadData(name, why.empty() ? "it is not a picture" : "it is not a picture that can be read (" + why + ")",
                  "check that it is a complete picture file");
  }
  return input;
}

// Formats whose reader leaves straight alpha alone and does not say so.
bool IsStraightUnsaid(const std::string& format) {
  return format == "bmp" || format == "ico" || format == "gif" || format == "jpeg2000";
}

Alpha AlphaOf(const PictureFacts& facts, const ReadOptions& options) {
  if (!facts.has_alpha()) return Alpha::kNone;
  if (options.assume_alpha != Alpha::kNone) return options.assume_alpha;
  const bool straight =
      facts.spec.get_int_attribute("oiio:UnassociatedAlpha", 0) != 0 || IsStraightUnsaid(facts.format);
  return straight ? Alpha::kStraight : Alpha::kPremultiplied;
}

int ChannelNamed(const ImageSpec& spec, const char* name) {
  for (std::size_t i = 0; i < spec.channelnames.size(); ++i) {
    if (spec.channelnames[i] == name) return static_cast<int>(i);
  }
  return -1;
}

// Takes the channels R, G, B and A, if there is one, of a picture with more than four.
void SelectByName(PictureFacts* facts, const ReadOptions& options) {
  const std::array<int, 4> found = {ChannelNamed(facts->spec, "R"), ChannelNamed(facts->spec, "G"),
                                    ChannelNamed(facts->spec, "B"), ChannelNamed(facts->spec, "A")};
  const bool rgb = found[0] >= 0 && found[1] >= 0 && found[2] >= 0;
  if (!options.rgba_only || !rgb) {
    throw BadData(
        facts->name, fmt::format("it has {} channels and a picture here has at most four", facts->file_channels),
        rgb ? "give --rgba to use R, G, B and A and leave the others out" : "extract the channels to use first");
  }
  facts->indices = found;
  facts->channels = found[3] >= 0 ? 4 : 3;
}

void CheckForm(const PictureFacts& facts) {
  const ImageSpec& spec = facts.spec;
  const std::string next = "convert it to a flat picture first";
  if (spec.deep) throw BadData(facts.name, "it holds deep data", next);
  if (spec.depth > 1) throw BadData(facts.name, "it is a volume and not a picture", next);
  if (spec.width < 1 || spec.height < 1 || spec.nchannels < 1) {
    throw BadData(facts.name, "it has no pixels", "check the program that made it");
  }
  const int limit = PF_MAX_WORLD_SIZE;
  if (spec.width > limit || spec.height > limit) {
    throw BadData(facts.name,
                  fmt::format("it has {} x {} pixels and the limit is {} each way", spec.width, spec.height, limit),
                  "cut it into parts first");
  }
}

bool HasMoreParts(OIIO::ImageInput& input) {
  const int told = input.spec().get_int_attribute("oiio:subimages", 0);
  const std::string format = input.format_name();
  if (told > 0 || (format != "tiff" && format != "gif")) return told > 1;
  const CodecQuiet quiet;
  const bool more = input.seek_subimage(1, 0);
  input.seek_subimage(0, 0);
  input.geterror();
  return more;
}

PictureFacts FactsOf(OIIO::ImageInput& input, const std::string& name, const ReadOptions& options) {
  PictureFacts facts;
  facts.name = name;
  facts.format = input.format_name();
  facts.spec = input.spec();
  facts.width = facts.spec.width;
  facts.height = facts.spec.height;
  facts.file_channels = facts.spec.nchannels;
  facts.channels = facts.file_channels;
  facts.is_half = facts.spec.format == TypeDesc::HALF;
  facts.depth = facts.spec.format.is_floating_point() ? 32 : facts.spec.format.size() == 1 ? 8 : 16;
  facts.encoding = facts.spec.get_string_attribute("oiio:ColorSpace", "unknown encoding");
  facts.has_more_parts = HasMoreParts(input);
  CheckForm(facts);
  if (facts.file_channels > 4) SelectByName(&facts, options);
  facts.alpha = AlphaOf(facts, options);
  return facts;
}

}  // namespace

PictureReader::PictureReader(const std::string& path, const std::string& name, const ReadOptions& options)
    : input_(Open(path, name)) {
  facts_ = FactsOf(*input_, name, options);
  band_type_ = facts_.depth == 8 ? TypeDesc::UINT8 : facts_.depth == 16 ? TypeDesc::UINT16 : TypeDesc::FLOAT;
  if (facts_.spec.tile_width > 0) band_rows_ = facts_.spec.tile_height;
}

PictureReader::~PictureReader() {
  const CodecQuiet quiet;
  input_.reset();
}

std::size_t PictureReader::band_row_bytes() const {
  return static_cast<std::size_t>(facts_.width) * static_cast<std::size_t>(facts_.file_channels) * band_type_.size();
}

Failure PictureReader::Damaged(const std::string& why) const {
  return BadData(facts_.name,
                 why.empty() ? "the picture data end early or are damaged"
                             : "the picture data end early or are damaged (" + why + ")",
                 "get a complete copy");
}

// Some readers fill what is missing with grey, say that all is well, and leave only a message behind.
void PictureReader::CheckCodecMessage(const std::string& message, bool ok, Reporter* reporter) {
  const bool ends_early = message.find("Premature end") != std::string::npos;
  if (!ok || ends_early) throw Damaged(FirstLine(message));
  if (!message.empty()) reporter->Note(QuotedInput(facts_.name) + ": the reader warns: " + FirstLine(message));
}

void PictureReader::ReadBand(int first, std::byte* out, Reporter* reporter) {
  const ImageSpec& spec = facts_.spec;
  const int last = std::min(first + band_rows_, facts_.height);
  bool ok = false;
  std::string message;
  {
    const CodecQuiet quiet;
    ok = spec.tile_width > 0
             ? input_->read_tiles(0, 0, spec.x, spec.x + spec.width, spec.y + first, spec.y + last, spec.z, spec.z + 1,
                                  0, spec.nchannels, band_type_, out)
             : input_->read_scanlines(0, 0, spec.y + first, spec.y + last, spec.z, 0, spec.nchannels, band_type_, out);
    message = input_->geterror();
  }
  CheckCodecMessage(message, ok, reporter);
}

void PictureReader::ReadInto(PF_World* world, Reporter* reporter) {
  const std::size_t row_bytes = band_row_bytes();
  std::vector<std::byte> band(row_bytes * static_cast<std::size_t>(std::min(band_rows_, facts_.height)));
  auto* pixels = static_cast<std::byte*>(world->data);
  for (int first = 0; first < facts_.height; first += band_rows_) {
    ReadBand(first, band.data(), reporter);
    const int rows = std::min(band_rows_, facts_.height - first);
    for (int y = 0; y < rows; ++y) {
      RowToWorld(band.data() + static_cast<std::size_t>(y) * row_bytes, band_type_, facts_, facts_.width,
                 pixels + static_cast<std::ptrdiff_t>(first + y) * world->row_bytes);
    }
    reporter->Rows(first + rows, facts_.height);
  }
}

std::string AssumptionText(const PictureFacts& facts) {
  static const char* const kChannels[] = {"", "grey", "grey and alpha", "RGB", "RGBA"};
  std::string text = fmt::format("{}, {}",
                                 facts.is_half       ? "half float"
                                 : facts.depth == 32 ? "float"
                                 : facts.depth == 16 ? "16-bit"
                                                     : "8-bit",
                                 kChannels[facts.channels]);
  if (facts.has_alpha()) text += std::string(", ") + AlphaText(facts.alpha);
  text += fmt::format(", {}, values used as stored", facts.encoding);
  const TypeDesc type = facts.spec.format;
  if (type.is_floating_point() && type.size() > 4) text += ", doubles narrowed to float";
  if (!type.is_floating_point() && type.size() > 2) text += ", integers scaled to 16 bits";
  if (!type.is_floating_point() && type.is_signed()) text += ", negative values become 0";
  if (facts.file_channels > 4) text += fmt::format(", R, G, B and A of {} channels", facts.file_channels);
  if (facts.has_alpha() && facts.file_channels <= 4 && facts.spec.alpha_channel < 0) {
    text += ", the last channel taken as alpha";
  }
  if (facts.has_more_parts) text += ", the first of several parts";
  const int orientation = facts.spec.get_int_attribute("Orientation", 1);
  if (orientation != 1) text += fmt::format(", not turned although its orientation is {}", orientation);
  if (facts.format == "webp" && facts.has_alpha()) text += ", premultiplied by the reader";
  return text;
}

}  // namespace pftool
