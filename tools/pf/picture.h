/// \file
/// Picture files and worlds: the one place that says how file data become pixels and back.
///
/// Values. 8-bit integers are 8-bit worlds, value for value. Half and float are float worlds, value for
/// value (half widens exactly, and narrows exactly when nothing changed). 16-bit integers f, 0..65535,
/// become 16-bit worlds w, 0..32768:
///
///     w = (f * 32768 + 32767) / 65535        f = (w * 65535 + 16384) / 32768        (both truncated)
///
/// which is rounding to nearest both ways; 0 and full value map exactly, and f comes back within one step,
/// since 32769 values cannot tell 65536 apart. w above 32768 counts as 32768. Other integers are scaled
/// to 16 bits, doubles narrowed to float, each with a note. So reading and writing at the file's own depth
/// gives 8-bit and float files back bit for bit.
///
/// Channels. 1 = grey, red = green = blue and opaque; 2 = grey and alpha; 3 = red, green, blue, opaque;
/// 4 = with alpha. More are refused, unless the caller asks for the ones named R, G, B and A. The writer
/// stores the reader's channels; a format without such files gets the next larger set, and alpha is left out
/// only where every pixel is opaque.
///
/// Alpha. Colours stay as the file stores them, straight or premultiplied: no conversion on reading. PNG,
/// Targa, BMP, GIF, icon and JPEG 2000 files are straight, TIFF and others say it, the rest is
/// premultiplied. A format that knows one convention only gets it, by the library's premultiply or
/// unmultiply and with a note; a picture that already contradicted the same format stays as it was.
///
/// Encoding. The colour encoding (transfer curve, profile) never changes a value. What the file says about
/// it, and all other metadata that the new format can hold (profile, orientation, dates ...), is carried
/// over as text, and a note tells when the new file's format usually means another encoding.
#ifndef TOOLS_PF_PICTURE_H
#define TOOLS_PF_PICTURE_H

#include <OpenImageIO/imageio.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "failure.h"
#include "formats.h"
#include "reporter.h"
#include "world.h"

namespace pftool {

/// How a picture is to be understood where its file does not decide.
struct ReadOptions {
  Alpha assume_alpha = Alpha::kNone;  ///< kNone: as the format says
  bool rgba_only = false;             ///< of more than four channels take those named R, G, B and A
};

/// What is known about a picture before its pixels are read.
struct PictureFacts {
  std::string name;    ///< as the user wrote it
  std::string format;  ///< name of the reader: "png", "openexr" ...
  OIIO::ImageSpec spec;
  int width = 0, height = 0;  ///< of the stored pixels
  int file_channels = 0;
  int channels = 0;  ///< 1..4, those that are used
  int depth = 8;     ///< depth of the world that holds the values
  bool is_half = false;
  Alpha alpha = Alpha::kNone;
  std::string encoding;                       ///< "sRGB", "Linear" ..., or "unknown encoding"
  bool has_more_parts = false;                ///< the file holds further pictures, which are not read
  std::array<int, 4> indices = {0, 1, 2, 3};  ///< of the used channels among the file's

  bool has_alpha() const { return channels == 2 || channels == 4; }
};

/// An open picture. The rows can be read once, from top to bottom.
class PictureReader {
 public:
  /// \param path file to open \param name how to call it, "-" for standard input
  /// \throws Failure 66 when it cannot be opened, 65 when it is no picture that can be used.
  PictureReader(const std::string& path, const std::string& name, const ReadOptions& options);
  ~PictureReader();

  const PictureFacts& facts() const { return facts_; }
  /// Type of the values that ReadBand delivers: UINT8, UINT16 or FLOAT.
  OIIO::TypeDesc band_type() const { return band_type_; }
  /// Rows of a band; the last one may have fewer.
  int band_rows() const { return band_rows_; }
  /// Bytes of one row of a band: all channels of the file, interleaved.
  std::size_t band_row_bytes() const;
  /// Reads the band that starts at row `first`. \throws Failure (65) when the data end early or are damaged.
  void ReadBand(int first, std::byte* out, Reporter* reporter);
  /// Reads all pixels into a world of the picture's size and depth.
  void ReadInto(PF_World* world, Reporter* reporter);

 private:
  Failure Damaged(const std::string& why) const;
  void CheckCodecMessage(const std::string& message, bool ok, Reporter* reporter);

  PictureFacts facts_;
  std::unique_ptr<OIIO::ImageInput> input_;
  OIIO::TypeDesc band_type_;
  int band_rows_ = 64;
};

/// One line that says what is assumed about a picture, for the note at the start of a run.
std::string AssumptionText(const PictureFacts& facts);

/// The conversion formulas of 16-bit values.
constexpr std::uint16_t WorldFromFile16(std::uint16_t f) {
  return static_cast<std::uint16_t>((f * 32768u + 32767u) / 65535u);
}
constexpr std::uint16_t FileFromWorld16(std::uint16_t w) {
  const std::uint32_t limited = w > 32768u ? 32768u : w;
  return static_cast<std::uint16_t>((limited * 65535u + 16384u) >> 15);
}

/// One row of file values into world pixels. `values` holds `file_channels` values per pixel.
void RowToWorld(const std::byte* values, OIIO::TypeDesc type, const PictureFacts& facts, int count, void* pixels);
/// One row of world pixels of `depth` into `channels` (1..4) interleaved file values of UINT8, UINT16 or FLOAT.
void RowFromWorld(const void* pixels, int depth, int channels, int count, std::byte* values);

/// How a picture is to be written.
struct WriteRequest {
  std::string path;                    ///< or "-"
  const FileFormat* format = nullptr;  ///< see FormatFor
  bool overwrite = false;
  bool depth_was_asked = false;  ///< refuse a format that needs a shallower depth instead of a note
};

/// What was written.
struct WrittenFacts {
  int width, height, depth, channels;
  bool is_half;
  Alpha alpha;
};

/// Writes a world whole or not at all.
/// \param world pixels in the convention `alpha`; given away.
/// \param like the picture that it came from: its channels, type and metadata are kept where possible.
/// \throws Failure 64, 73, 74.
WrittenFacts WritePicture(WorldPtr world, Alpha alpha, const PictureFacts& like, const WriteRequest& request,
                          Reporter* reporter);

}  // namespace pftool

#endif
