#include "difference.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace pftool {
namespace {

using OIIO::TypeDesc;

/// Delivers the rows of a picture as red, green, blue and alpha in double, top to bottom.
class Rows {
 public:
  Rows(PictureReader* reader, Reporter* reporter, bool raw_steps)
      : reader_(reader),
        reporter_(reporter),
        full_(FullOf(reader->band_type())),
        scale_(raw_steps ? 1 : full_),
        opaque_(raw_steps ? full_ : 1),
        band_(reader->band_row_bytes() * static_cast<std::size_t>(reader->band_rows())) {}

  static double FullOf(TypeDesc type) {
    return type == TypeDesc::UINT8 ? 255.0 : type == TypeDesc::UINT16 ? 65535.0 : 1.0;
  }

  void Next(double* rgba) {
    const int in_band = row_ % reader_->band_rows();
    if (in_band == 0) reader_->ReadBand(row_, band_.data(), reporter_);
    const void* values = band_.data() + static_cast<std::size_t>(in_band) * reader_->band_row_bytes();
    const TypeDesc type = reader_->band_type();
    if (type == TypeDesc::UINT8) {
      Widen(static_cast<const std::uint8_t*>(values), rgba);
    } else if (type == TypeDesc::UINT16) {
      Widen(static_cast<const std::uint16_t*>(values), rgba);
    } else {
      Widen(static_cast<const float*>(values), rgba);
    }
    ++row_;
  }

 private:
  template <class Value>
  void Widen(const Value* in, double* out) const {
    const PictureFacts& facts = reader_->facts();
    const bool grey = facts.channels < 3;
    for (int i = 0; i < facts.width; ++i, in += facts.file_channels, out += 4) {
      for (std::size_t c = 0; c < 3; ++c) out[c] = static_cast<double>(in[facts.indices[grey ? 0 : c]]) / scale_;
      out[3] = facts.has_alpha() ? static_cast<double>(in[facts.indices[grey ? 1 : 3]]) / scale_ : opaque_;
    }
  }

  PictureReader* reader_;
  Reporter* reporter_;
  double full_, scale_, opaque_;
  std::vector<std::byte> band_;
  int row_ = 0;
};

void PremultiplyRow(std::vector<double>* rgba) {
  for (std::size_t i = 0; i < rgba->size(); i += 4) {
    for (std::size_t c = 0; c < 3; ++c) (*rgba)[i + c] *= (*rgba)[i + 3];
  }
}

double Distance(double a, double b) {
  if (a == b || (std::isnan(a) && std::isnan(b))) return 0;
  const double distance = std::fabs(a - b);
  return std::isnan(distance) ? INFINITY : distance;
}

/// The compared channels: indices into red, green, blue, alpha, and their letters.
struct Channels {
  std::vector<std::size_t> indices;
  std::vector<char> letters;
};

Channels ChannelsOf(const PictureFacts& a, const PictureFacts& b) {
  Channels channels{{0}, {'y'}};
  if (a.channels > 2 || b.channels > 2) channels = {{0, 1, 2}, {'r', 'g', 'b'}};
  if (a.has_alpha() || b.has_alpha()) {
    channels.indices.push_back(3);
    channels.letters.push_back('a');
  }
  return channels;
}

void AddRow(const std::vector<double>& a, const std::vector<double>& b, const Channels& channels, int y,
            Difference* difference) {
  for (std::size_t i = 0; i < a.size(); i += 4) {
    for (std::size_t c = 0; c < channels.indices.size(); ++c) {
      const double distance = Distance(a[i + channels.indices[c]], b[i + channels.indices[c]]);
      difference->sum += distance;
      difference->sum_of_squares += distance * distance;
      if (!(distance > difference->largest)) continue;
      difference->largest = distance;
      difference->x = static_cast<int>(i / 4);
      difference->y = y;
      difference->channel = channels.letters[c];
    }
  }
  difference->values += a.size() / 4 * channels.indices.size();
}

}  // namespace

double Difference::psnr() const {
  if (sum_of_squares == 0) return INFINITY;
  return 10 * std::log10(full * full * static_cast<double>(values) / sum_of_squares);
}

Difference ComparePictures(PictureReader* a, PictureReader* b, Reporter* reporter) {
  const PictureFacts &fa = a->facts(), &fb = b->facts();
  const bool mixed_alpha = fa.has_alpha() && fb.has_alpha() && fa.alpha != fb.alpha;
  const bool raw_steps = !mixed_alpha && fa.spec.format == fb.spec.format;
  if (mixed_alpha) reporter->Note("one picture is straight and the other premultiplied; compared premultiplied");
  Difference difference;
  if (raw_steps) difference.full = Rows::FullOf(a->band_type());
  const Channels channels = ChannelsOf(fa, fb);
  Rows rows_a(a, reporter, raw_steps), rows_b(b, reporter, raw_steps);
  std::vector<double> row_a(static_cast<std::size_t>(fa.width) * 4), row_b(row_a.size());
  for (int y = 0; y < fa.height; ++y) {
    rows_a.Next(row_a.data());
    rows_b.Next(row_b.data());
    if (mixed_alpha) PremultiplyRow(fa.alpha == Alpha::kStraight ? &row_a : &row_b);
    AddRow(row_a, row_b, channels, y, &difference);
    reporter->Rows(y, fa.height);
  }
  return difference;
}

}  // namespace pftool
