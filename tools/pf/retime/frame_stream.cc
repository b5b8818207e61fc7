#include "retime/frame_stream.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "signals.h"

namespace pftool {
namespace {

using OIIO::TypeDesc;

constexpr int kEnd = -1;
constexpr std::size_t kLongestToken = 64;
constexpr const char* kAdvice = "let the program before it write pam, ppm, pgm or pfm pictures";

/// Copies values of `size` bytes each, in this machine's order or the other one.
void CopyValues(const std::byte* from, std::byte* to, std::size_t bytes, std::size_t size, bool little_endian) {
  std::memcpy(to, from, bytes);
  if (size == 1 || little_endian == (std::endian::native == std::endian::little)) return;
  for (std::size_t at = 0; at < bytes; at += size) std::reverse(to + at, to + at + size);
}

std::size_t RowAt(const StreamForm& form, int y) {
  return static_cast<std::size_t>(form.kind == StreamForm::kPfm ? form.height - 1 - y : y) * form.row_bytes();
}

bool LittleEndian(const StreamForm& form) { return form.type == TypeDesc::FLOAT && form.little_endian; }

std::string HeaderText(const StreamForm& form) {
  static const char* const kTypes[] = {"", "GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
  const int largest = form.type == TypeDesc::UINT8 ? 255 : 65535;
  switch (form.kind) {
    case StreamForm::kPnm:
      return fmt::format("P{}\n{} {}\n{}\n", form.channels == 1 ? 5 : 6, form.width, form.height, largest);
    case StreamForm::kPfm:
      return fmt::format("P{}\n{} {}\n{}1.0\n", form.channels == 1 ? 'f' : 'F', form.width, form.height,
                         form.little_endian ? "-" : "");
    default:
      return fmt::format("P7\nWIDTH {}\nHEIGHT {}\nDEPTH {}\nMAXVAL {}\nTUPLTYPE {}\nENDHDR\n", form.width, form.height,
                         form.channels, largest, kTypes[form.channels]);
  }
}

void WriteAll(int file, const void* bytes, std::size_t size) {
  const char* at = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = ::write(file, at, size);
    StopIfSignalled();
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw WriteFailure("-", errno);
    at += written;
    size -= static_cast<std::size_t>(written);
  }
}

}  // namespace

std::size_t StreamForm::row_bytes() const {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels) * type.size();
}

void StreamPicture::Row(int y, std::byte* values) const {
  CopyValues(bytes.data() + RowAt(form, y), values, form.row_bytes(), form.type.size(), LittleEndian(form));
}

void StoreRow(StreamPicture* picture, int y, const std::byte* values) {
  const StreamForm& form = picture->form;
  CopyValues(values, picture->bytes.data() + RowAt(form, y), form.row_bytes(), form.type.size(), LittleEndian(form));
}

PictureFacts FactsOf(const StreamForm& form, const std::string& name, const ReadOptions& options) {
  PictureFacts facts;
  facts.name = name;
  facts.format = "pnm";
  facts.spec = OIIO::ImageSpec(form.width, form.height, form.channels, form.type);
  if (form.channels < 3) facts.spec.channelnames = {"Y", "A"};
  facts.spec.channelnames.resize(static_cast<std::size_t>(form.channels));
  facts.spec.alpha_channel = form.channels % 2 == 0 ? form.channels - 1 : -1;
  facts.width = form.width, facts.height = form.height;
  facts.file_channels = facts.channels = form.channels;
  facts.depth = form.type == TypeDesc::UINT8 ? 8 : form.type == TypeDesc::UINT16 ? 16 : 32;
  if (facts.has_alpha()) facts.alpha = options.assume_alpha == Alpha::kNone ? Alpha::kStraight : options.assume_alpha;
  facts.encoding = "unknown encoding";
  return facts;
}

Failure StreamReader::Bad(const std::string& why, const std::string& next) const {
  return {ExitCode::kBadData, "cannot read", fmt::format("frame {} of {}", pictures_ + 1, name_), why, next};
}

bool StreamReader::Fill() {
  for (;;) {
    const ssize_t got = ::read(file_, buffer_.data(), buffer_.size());
    StopIfSignalled();
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      throw Failure(ExitCode::kNoInput, "cannot read", name_, ErrorText(errno), "connect a file or a pipe");
    }
    at_ = 0;
    end_ = static_cast<std::size_t>(got);
    return got > 0;
  }
}

int StreamReader::Take() {
  if (at_ == end_ && !Fill()) return kEnd;
  return static_cast<int>(buffer_[at_++]);
}

// A word of the header and the one blank behind it. "#" begins a comment, to the end of the line.
std::string StreamReader::Token() {
  std::string token;
  for (;;) {
    int c = Take();
    if (c == '#' && token.empty()) {
      while (c != '\n' && c != kEnd) c = Take();
    }
    if (c == kEnd) throw Bad("its header ends early", kAdvice);
    if (!std::isspace(c)) {
      token += static_cast<char>(c);
    } else if (!token.empty()) {
      return token;
    }
    if (token.size() > kLongestToken) throw Bad("its header is not understood", kAdvice);
  }
}

int StreamReader::Number(const char* what, int largest) {
  const std::string token = Token();
  int value = 0;
  for (const char c : token) {
    if (!std::isdigit(static_cast<unsigned char>(c))) {
      throw Bad(fmt::format("its {} is '{}' and no number", what, token), kAdvice);
    }
    value = std::min(value * 10 + (c - '0'), 1000000);
  }
  if (value >= 1 && value <= largest) return value;
  throw Bad(fmt::format("its {} is {} and must lie in 1 to {}", what, token, largest), kAdvice);
}

TypeDesc StreamReader::TypeOf(int largest) const {
  if (largest == 255) return TypeDesc::UINT8;
  if (largest == 65535) return TypeDesc::UINT16;
  throw Bad(fmt::format("its full value is {} and 255 or 65535 is understood", largest),
            "let the program before it write 8 or 16 bits, such as rgb24, rgba, rgb48be or rgba64be");
}

StreamForm StreamReader::PamHeader() {
  StreamForm form;
  for (;;) {
    const std::string field = Token();
    if (field == "ENDHDR") break;
    if (field == "WIDTH") {
      form.width = Number("width", PF_MAX_WORLD_SIZE);
    } else if (field == "HEIGHT") {
      form.height = Number("height", PF_MAX_WORLD_SIZE);
    } else if (field == "DEPTH") {
      form.channels = Number("number of channels", 4);
    } else if (field == "MAXVAL") {
      form.type = TypeOf(Number("full value", 65535));
    } else if (field == "TUPLTYPE") {
      Token();  // the number of channels says as much
    } else {
      throw Bad(fmt::format("'{}' in its header is not understood", field), kAdvice);
    }
  }
  if (form.width && form.height && form.channels && form.type != TypeDesc::UNKNOWN) return form;
  throw Bad("its header lacks WIDTH, HEIGHT, DEPTH or MAXVAL", kAdvice);
}

StreamForm StreamReader::SizedForm(StreamForm::Kind kind, int channels) {
  StreamForm form;
  form.kind = kind;
  form.width = Number("width", PF_MAX_WORLD_SIZE);
  form.height = Number("height", PF_MAX_WORLD_SIZE);
  form.channels = channels;
  return form;
}

StreamForm StreamReader::PnmHeader(int channels) {
  StreamForm form = SizedForm(StreamForm::kPnm, channels);
  form.type = TypeOf(Number("full value", 65535));
  return form;
}

StreamForm StreamReader::PfmHeader(int channels) {
  StreamForm form = SizedForm(StreamForm::kPfm, channels);
  form.type = TypeDesc::FLOAT;
  form.little_endian = Token().front() == '-';
  return form;
}

StreamForm StreamReader::Header() {
  const std::string magic = Token();
  if (magic == "P7") return PamHeader();
  if (magic == "P6") return PnmHeader(3);
  if (magic == "P5") return PnmHeader(1);
  if (magic == "PF") return PfmHeader(3);
  if (magic == "Pf") return PfmHeader(1);
  throw Bad("it does not begin as a picture of a stream does", kAdvice);
}

void StreamReader::ReadBytes(std::vector<std::byte>* bytes) {
  std::size_t done = 0;
  while (done < bytes->size()) {
    if (at_ == end_ && !Fill()) {
      throw Bad(fmt::format("it ends after {} of {} bytes", done, bytes->size()), "check the program before the pipe");
    }
    const std::size_t part = std::min(end_ - at_, bytes->size() - done);
    std::memcpy(bytes->data() + done, buffer_.data() + at_, part);
    at_ += part;
    done += part;
  }
}

bool StreamReader::Next(StreamPicture* picture) {
  if (at_ == end_ && !Fill()) return false;
  picture->form = Header();
  RequireMemory(picture->form.row_bytes() * static_cast<std::uint64_t>(picture->form.height), name_);
  picture->bytes.resize(picture->form.row_bytes() * static_cast<std::size_t>(picture->form.height));
  ReadBytes(&picture->bytes);
  ++pictures_;
  return true;
}

void WriteStreamPicture(int file, const StreamPicture& picture) {
  const std::string header = HeaderText(picture.form);
  WriteAll(file, header.data(), header.size());
  WriteAll(file, picture.bytes.data(), picture.bytes.size());
}

StreamForm FormFor(const PictureFacts& facts, int depth) {
  StreamForm form;
  form.width = facts.width, form.height = facts.height, form.channels = facts.channels;
  form.type = depth == 8 ? TypeDesc::UINT8 : depth == 16 ? TypeDesc::UINT16 : TypeDesc::FLOAT;
  if (depth != 32) return form;
  if (facts.has_alpha()) {
    throw UsageFailure("cannot write", "standard output", "a stream holds no float pictures with alpha",
                       "give --depth 16 or write files");
  }
  form.kind = StreamForm::kPfm;
  return form;
}

}  // namespace pftool
