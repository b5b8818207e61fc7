#include "retime/motion_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>

#include "output_file.h"

namespace pftool {
namespace {

static_assert(std::endian::native == std::endian::little, "the file is written as it lies in memory");

PF_MotionVector Mixed(const PF_MotionVector& a, const PF_MotionVector& b, float share) {
  return {a.x + (b.x - a.x) * share, a.y + (b.y - a.y) * share};
}

double Length(const PF_MotionVector& v) { return std::hypot(static_cast<double>(v.x), static_cast<double>(v.y)); }

PF_Pixel8 Coloured(const PF_MotionVector& vector, double longest) {
  const double saturation = longest > 0 ? Length(vector) / longest : 0;
  const double turn = std::atan2(static_cast<double>(vector.y), static_cast<double>(vector.x)) / std::numbers::pi * 3;
  // Red, green and blue lie a third of a turn (two of six sextants) apart.
  const auto channel = [&](double at) {
    double distance = std::abs(turn - at);
    distance = std::min(distance, 6 - distance);
    const double hue = std::clamp(2 - distance, 0.0, 1.0);
    return static_cast<std::uint8_t>(std::lround(255 * (1 - saturation * (1 - hue))));
  };
  PF_Pixel8 pixel = {};
  pixel.alpha = PF_MAX_CHAN8;
  pixel.red = channel(0), pixel.green = channel(2), pixel.blue = channel(-2);
  return pixel;
}

void WriteFlow(const MotionField& field, const std::string& path, bool overwrite) {
  OutputFile file(path, overwrite);
  const std::int32_t size[] = {field.width, field.height};
  file.Write("PIEH");
  file.Write({reinterpret_cast<const char*>(size), sizeof size});
  file.Write({reinterpret_cast<const char*>(field.vectors.data()), field.vectors.size() * sizeof(PF_MotionVector)});
  file.Commit();
}

}  // namespace

MotionField FieldOf(const PF_TavrosCache_Stuff& motion, int width, int height) {
  MotionField field{width, height, {}};
  field.vectors.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  const auto at = [&](int x, int y) { return motion.Vector(PF_MotionDirection_FORWARD, x, y); };
  for (int y = 0; y < height; ++y) {
    const int top = y / 2, bottom = std::min((y + 1) / 2, motion.Height() - 1);
    for (int x = 0; x < width; ++x) {
      const int left = x / 2, right = std::min((x + 1) / 2, motion.Width() - 1);
      const PF_MotionVector above = Mixed(at(left, top), at(right, top), 0.5f);
      field.vectors.push_back(Mixed(above, Mixed(at(left, bottom), at(right, bottom), 0.5f), 0.5f));
    }
  }
  return field;
}

bool IsFlowName(const std::string& path) { return path.ends_with(".flo"); }

void WriteMotion(const MotionField& field, const std::string& path, bool overwrite, Reporter* reporter) {
  if (IsFlowName(path)) return WriteFlow(field, path, overwrite);
  double longest = 0;
  for (const PF_MotionVector& vector : field.vectors) longest = std::max(longest, Length(vector));
  reporter->Note(fmt::format("{}: full saturation is a motion of {:.2f} pixels", QuotedOutput(path), longest));
  WorldPtr world = NewWorld(field.width, field.height, 8, QuotedOutput(path));
  auto vector = field.vectors.begin();
  for (int y = 0; y < field.height; ++y) {
    auto* row = reinterpret_cast<PF_Pixel8*>(static_cast<std::byte*>(world->data) +
                                             static_cast<std::ptrdiff_t>(y) * world->row_bytes);
    for (int x = 0; x < field.width; ++x) row[x] = Coloured(*vector++, longest);
  }
  PictureFacts facts;
  facts.spec = OIIO::ImageSpec(field.width, field.height, 3, OIIO::TypeDesc::UINT8);
  facts.width = field.width, facts.height = field.height;
  facts.channels = facts.file_channels = 3;
  facts.encoding = "sRGB";
  WritePicture(std::move(world), Alpha::kNone, facts, {path, &FormatFor(path, ""), overwrite, false}, reporter);
}

}  // namespace pftool
