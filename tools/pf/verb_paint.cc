#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "PF/PF_Paint.h"
#include "engine.h"
#include "picture_options.h"
#include "strokes.h"

namespace pftool {
namespace {

struct PaintOptions {
  PictureFiles files;
  std::string picture, strokes;
  ReadOptions read;
};

/// The picture with room around it, so that dabs that cross an edge are whole in there: half a brush on three
/// sides, and a whole one above, for dabs whose middle lies above the picture. Painting mixes all channels
/// alike, which is right for premultiplied pixels. A picture without alpha stays opaque: there the colour's
/// alpha weakens the brush.
class Canvas {
 public:
  Canvas(const PF_World& picture, Alpha alpha, int margin, const std::string& where)
      : where_(where),
        alpha_(alpha),
        margin_(margin),
        padded_(NewWorld(picture.width + 2 * margin, picture.height + 3 * margin, picture.Depth(), where)) {
    Guarded("cannot paint on", where_, [&] {
      padded_->Clear(nullptr);
      padded_->CopyRect(&picture, BoundsOf(picture), margin, Above());
      if (alpha == Alpha::kStraight) padded_->Premultiply();
    });
    record_ = RecordOf(*padded_);
  }

  void Paint(const PaintStep& step) {
    PF_PixelFloat c = step.colour;
    const float solid = c.alpha;
    if (alpha_ == Alpha::kNone) c.alpha = 1;
    const PF_PixelFloat colour = {c.alpha, c.red * c.alpha, c.green * c.alpha, c.blue * c.alpha};
    if (step.kind == PaintStep::kDab) {
      return Dab(alpha_ == Alpha::kNone ? BrushAt(step.brush, solid) : *step.brush, Nearest(step.x0), Nearest(step.y0),
                 colour);
    }
    const bool line = step.kind == PaintStep::kLine;
    const M_Vector2T<double> from = {step.x0 + margin_, step.y0 + Above()};
    const M_Vector2T<double> to = line ? M_Vector2T<double>{step.x1 + margin_, step.y1 + Above()} : from;
    Check(PF_DrawLine(&from, &to, &colour, padded_.get()), "cannot draw on", where_);
  }

  /// What was painted goes into the picture; pixels that painting left alone keep their bits.
  void CopyInto(PF_World* picture, Alpha alpha) {
    WorldPtr inside = PartOf(padded_.get(), {margin_, Above(), margin_ + picture->width, Above() + picture->height});
    if (alpha != Alpha::kStraight) {
      Guarded("cannot paint on", where_, [&] { picture->CopyRect(inside.get(), BoundsOf(*inside), 0, 0); });
      return;
    }
    const WorldPtr before = NewWorld(picture->width, picture->height, picture->Depth(), where_);
    const WorldPtr painted = NewWorld(picture->width, picture->height, picture->Depth(), where_);
    Guarded("cannot paint on", where_, [&] {
      before->CopyRect(picture, BoundsOf(*picture), 0, 0);
      before->Premultiply();
      painted->CopyRect(inside.get(), BoundsOf(*inside), 0, 0);
      painted->Unmultiply();
    });
    const auto size = static_cast<std::ptrdiff_t>(picture->PixelSize());
    const auto at = [&](const PF_World& world, int x, int y) {
      return static_cast<std::byte*>(world.data) + y * std::ptrdiff_t{world.row_bytes} + x * size;
    };
    for (int y = 0; y < picture->height; ++y) {
      for (int x = 0; x < picture->width; ++x) {
        if (std::memcmp(at(*before, x, y), at(*inside, x, y), static_cast<std::size_t>(size)) == 0) continue;
        std::memcpy(at(*picture, x, y), at(*painted, x, y), static_cast<std::size_t>(size));
      }
    }
  }

 private:
  int Above() const { return 2 * margin_; }

  /// A brush under a colour's alpha; dabs that follow each other mostly share it.
  const Brush& BrushAt(const std::shared_ptr<const Brush>& brush, float alpha) {
    if (brush != weak_from_ || alpha != weak_alpha_) {
      weak_ = Weakened(*brush, alpha);
      weak_from_ = brush;
      weak_alpha_ = alpha;
    }
    return weak_;
  }

  static int Nearest(double v) { return static_cast<int>(std::floor(v + 0.5)); }

  void Dab(const Brush& brush, int x, int y, const PF_PixelFloat& colour) {
    const int half_width = brush.HalfWidth(), half_height = brush.HalfHeight();
    const int width = padded_->width - 2 * margin_, height = padded_->height - 3 * margin_;
    if (x + half_width < 0 || x - half_width >= width || y + half_height < 0 || y - half_height >= height) return;
    const auto part = [](float v) { return static_cast<std::uint32_t>(v * 255 + 0.5f); };
    const std::uint32_t packed =
        part(colour.alpha) | part(colour.red) << 8 | part(colour.green) << 16 | part(colour.blue) << 24;
    Check(PF_PaintSpot(nullptr, x + margin_, y + Above(), brush.shape, brush.size, brush.coverage.data(), packed,
                       &record_),
          "cannot paint on", where_);
  }

  std::string where_;
  Alpha alpha_;
  int margin_;
  WorldPtr padded_;
  PF_LayerDef record_;
  Brush weak_;
  std::shared_ptr<const Brush> weak_from_;
  float weak_alpha_ = 1;
};

WrittenFacts PaintOne(const PaintOptions& options, const Job& job, WriteRequest request, Reporter* reporter) {
  PictureReader reader(job.input.path, job.input.name, options.read);
  const PictureFacts& facts = reader.facts();
  const std::string where = QuotedInput(facts.name);
  NoteAssumptions(facts, reporter);
  const std::vector<PaintStep> steps = ReadStrokes(options.strokes, reporter);
  int margin = 0;
  for (const PaintStep& step : steps) {
    if (step.brush) margin = std::max(margin, step.brush->size / 2);
  }
  const bool dabs =
      margin > 0 || std::any_of(steps.begin(), steps.end(), [](const PaintStep& s) { return s.brush != nullptr; });
  if (std::max(facts.width + 2 * margin, facts.height + 3 * margin) > PF_MAX_WORLD_SIZE) {
    throw Failure(
        ExitCode::kBadData, "cannot paint on", where,
        fmt::format("with the brush around it, it has more than {} pixels a side", static_cast<int>(PF_MAX_WORLD_SIZE)),
        "use a smaller brush");
  }
  const int depth = dabs ? 8 : facts.depth;
  if (depth < facts.depth) reporter->Note("dabs are painted with 8 bits, so is the result");
  RequireMemory(5 * WorldBytes(facts.width + 2 * margin, facts.height + 3 * margin, facts.depth), where);
  WorldPtr world = NewWorld(facts.width, facts.height, facts.depth, where);
  reporter->Stage("read", 0, 0.3);
  reader.ReadInto(world.get(), reporter);
  world = Converted(std::move(world), depth, false, where, reporter);
  reporter->Stage("paint", 0.3, 0.6);
  Canvas canvas(*world, facts.alpha, margin, where);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    canvas.Paint(steps[i]);
    if (i % 64 == 63) reporter->Rows(static_cast<std::int64_t>(i), static_cast<std::int64_t>(steps.size()));
  }
  canvas.CopyInto(world.get(), facts.alpha);
  reporter->Stage("write", 0.6, 1);
  return WritePicture(std::move(world), facts.alpha, facts, request, reporter);
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<PaintOptions>();
  app.add_option("picture", options->picture, "Picture or sequence to paint on, or - for a pipe")
      ->required()
      ->type_name("PICTURE");
  app.add_option("strokes", options->strokes, "Text file of strokes")->required()->type_name("STROKES");
  AddOutput(app, &options->files);
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) {
    PictureFiles files = options->files;
    files.inputs = {options->picture};
    return ForEachPicture("paint", files, common, [&](const Job& job, const WriteRequest& request, Reporter* reporter) {
      return PaintOne(*options, job, request, reporter);
    });
  };
}

}  // namespace

Verb PaintVerb() {
  return {"paint",
          "Paint strokes from a text file",
          "One command a line, \"#\" starts a comment. Coordinates are pixels, centres at whole numbers; strokes may "
          "cross every edge.\n\n"
          "color R G B [A] or color #RRGGBB[AA]: colour of what follows, parts 0 to 1. On a picture without alpha, A "
          "weakens the brush, and lines and pixels are solid.\n"
          "disk N [HARDNESS], square N, hbar N, vbar N: brush of N pixels; even sizes become the next odd one.\n"
          "brush FILE: coverage from a picture's alpha or only channel, relative to the text file's folder.\n"
          "opacity O: of the dabs that follow. spacing S: pixels between the dabs of a stroke.\n"
          "dab X Y, stroke X Y X Y ..., line X Y X Y (one pixel wide), pixel X Y.\n\n"
          "Dabs are painted with 8 bits per channel; lines and pixels with the picture's own.",
          {{"pf paint photo.jpg notes.txt -o marked.png", "what notes.txt says"},
           {"printf 'color 1 0 0\\ndisk 41 0.5\\nstroke 10 10 500 300\\n' > s.txt && pf paint a.png s.txt -o b.png",
            "a soft red stroke"}},
          kHasAll,
          Setup};
}

}  // namespace pftool
