/// \file
/// Streams of uncompressed pictures through pipes: PAM, PPM, PGM (8 and 16 bits) and PFM (float) pictures one behind
/// the other. Each says its own size and type, so that nothing has to be told twice.
#ifndef TOOLS_PF_RETIME_FRAME_STREAM_H
#define TOOLS_PF_RETIME_FRAME_STREAM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "picture.h"

namespace pftool {

/// The form of a picture in a stream.
struct StreamForm {
  enum Kind { kPam, kPnm, kPfm } kind = kPam;
  int width = 0, height = 0, channels = 0;
  OIIO::TypeDesc type;        ///< of the values: UINT8, UINT16 (most significant byte first) or FLOAT
  bool little_endian = true;  ///< of floats

  std::size_t row_bytes() const;
  bool operator==(const StreamForm&) const = default;
};

/// A picture as it stood in the stream.
struct StreamPicture {
  StreamForm form;
  std::vector<std::byte> bytes;  ///< behind the header

  /// Row `y`, counted from the top, as values of `form.type` in this machine's order.
  void Row(int y, std::byte* values) const;
};

/// What the rest of the tool knows of such a picture. Alpha is straight unless `options` say otherwise.
PictureFacts FactsOf(const StreamForm& form, const std::string& name, const ReadOptions& options);

/// Reads pictures from a descriptor.
class StreamReader {
 public:
  /// \param name how to call the stream in messages, quoted already
  StreamReader(int file, std::string name) : file_(file), name_(std::move(name)), buffer_(1 << 16) {}

  /// \return false at the end of the stream. \throws Failure 65 for what is no picture of these kinds and for one that
  /// ends early, 66 when the stream cannot be read; Interrupted.
  bool Next(StreamPicture* picture);

 private:
  bool Fill();
  int Take();
  std::string Token();
  int Number(const char* what, int largest);
  StreamForm Header();
  StreamForm PamHeader();
  StreamForm SizedForm(StreamForm::Kind kind, int channels);
  StreamForm PnmHeader(int channels);
  StreamForm PfmHeader(int channels);
  OIIO::TypeDesc TypeOf(int largest) const;
  void ReadBytes(std::vector<std::byte>* bytes);
  Failure Bad(const std::string& why, const std::string& next) const;

  int file_;
  std::string name_;
  std::vector<std::byte> buffer_;
  std::size_t at_ = 0, end_ = 0;
  std::int64_t pictures_ = 0;
};

/// Writes one picture: the header of its form and its bytes. \throws Failure (74), Interrupted.
void WriteStreamPicture(int file, const StreamPicture& picture);

/// The form that holds pictures with these facts at `depth`: PFM for float, else PAM. \throws Failure (64) for float
/// with alpha, which no form holds.
StreamForm FormFor(const PictureFacts& facts, int depth);

/// A picture of `form` from rows of native values; `fill(y, values)` writes row y.
template <class FillRow>
StreamPicture Packed(const StreamForm& form, FillRow fill);

/// Puts row `y` of native values into the picture.
void StoreRow(StreamPicture* picture, int y, const std::byte* values);

template <class FillRow>
StreamPicture Packed(const StreamForm& form, FillRow fill) {
  StreamPicture picture{form, std::vector<std::byte>(form.row_bytes() * static_cast<std::size_t>(form.height))};
  std::vector<std::byte> row(form.row_bytes());
  for (int y = 0; y < form.height; ++y) {
    fill(y, row.data());
    StoreRow(&picture, y, row.data());
  }
  return picture;
}

}  // namespace pftool

#endif
