#include "retime/footage.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "engine.h"
#include "picture_options.h"

namespace pftool {
namespace {

// How far back notes on frames are kept when their pixels are gone.
constexpr std::int64_t kNotesKept = 32;

WorldPtr Unpacked(const StreamPicture& picture, const PictureFacts& facts) {
  WorldPtr world = NewWorld(facts.width, facts.height, facts.depth, QuotedInput(facts.name));
  std::vector<std::byte> row(picture.form.row_bytes());
  for (int y = 0; y < facts.height; ++y) {
    picture.Row(y, row.data());
    RowToWorld(row.data(), picture.form.type, facts, facts.width,
               static_cast<std::byte*>(world->data) + static_cast<std::ptrdiff_t>(y) * world->row_bytes);
  }
  return world;
}

}  // namespace

Footage::Footage(std::vector<InputName> files, const ReadOptions& options, int depth, Reporter* reporter)
    : files_(std::move(files)), options_(options), depth_(depth), reporter_(reporter) {}

Footage::Footage(std::unique_ptr<StreamReader> stream, std::string name, const ReadOptions& options, int depth,
                 Reporter* reporter)
    : stream_(std::move(stream)),
      stream_name_(std::move(name)),
      options_(options),
      depth_(depth),
      reporter_(reporter) {}

std::optional<std::int64_t> Footage::count() const {
  if (stream_) return std::nullopt;
  return static_cast<std::int64_t>(files_.size());
}

bool Footage::Has(std::int64_t frame) {
  if (frame < 0) return false;
  if (!stream_) return frame < *count();
  while (streamed_ <= frame && !stream_ended_) {
    StreamPicture picture;
    stream_ended_ = !stream_->Next(&picture);
    if (stream_ended_) break;
    if (!stream_form_) stream_form_ = picture.form;
    packed_.emplace(streamed_++, std::move(picture));
  }
  return frame < streamed_;
}

std::string Footage::NameOf(std::int64_t frame) {
  return stream_ ? fmt::format("frame {} of {}", frame + 1, stream_name_) : file(frame).name;
}

StoredFrame Footage::Stored(std::int64_t frame) {
  if (!stream_) return {file(frame).name, file(frame).path, nullptr};
  Has(frame);
  return {NameOf(frame), "", &packed_.at(frame)};
}

void Footage::CheckAlike(const PictureFacts& facts) {
  if (!first_) {
    first_ = facts;
    const std::uint64_t world = WorldBytes(facts.width, facts.height, DepthFor(facts));
    // Frames being read and written, and about 120 bytes for each pixel while one is made.
    const std::uint64_t working =
        120 * static_cast<std::uint64_t>(facts.width) * static_cast<std::uint64_t>(facts.height);
    RequireMemory(5 * world + working, QuotedInput(facts.name));
    return;
  }
  const std::string first = QuotedInput(first_->name), where = QuotedInput(facts.name);
  if (facts.width != first_->width || facts.height != first_->height) {
    throw Failure(ExitCode::kBadData, "cannot use", where,
                  fmt::format("it has {} x {} pixels and {} has {} x {}", facts.width, facts.height, first,
                              first_->width, first_->height),
                  "bring all frames to one size with 'pf scale'");
  }
  if (facts.depth != first_->depth) {
    throw Failure(ExitCode::kBadData, "cannot use", where,
                  fmt::format("it has {} bits and {} has {}", facts.depth, first, first_->depth),
                  "bring all frames to one depth with 'pf convert'");
  }
}

WorldPtr Footage::Read(std::int64_t frame, PictureFacts* facts) {
  if (stream_) {
    const StreamPicture& picture = *Stored(frame).packed;
    *facts = FactsOf(picture.form, NameOf(frame), options_);
    NoteAssumptions(*facts, reporter_);
    CheckAlike(*facts);
    return Unpacked(picture, *facts);
  }
  PictureReader reader(file(frame).path, file(frame).name, options_);
  *facts = reader.facts();
  NoteAssumptions(*facts, reporter_);
  CheckAlike(*facts);
  WorldPtr world = NewWorld(facts->width, facts->height, facts->depth, QuotedInput(facts->name));
  reader.ReadInto(world.get(), reporter_);
  return world;
}

int Footage::DepthFor(const PictureFacts& facts) const {
  return std::max({facts.depth, depth_, facts.alpha == Alpha::kPremultiplied ? 16 : 8});
}

const SourceFrame& Footage::Get(std::int64_t frame) {
  const auto found = frames_.find(frame);
  if (found != frames_.end()) return found->second;
  SourceFrame source;
  source.name = NameOf(frame);
  source.world = Read(frame, &source.facts);
  const std::string where = QuotedInput(source.name);
  // All frames at one depth, also where only some have alpha.
  source.world =
      Converted(std::move(source.world), std::max(DepthFor(source.facts), DepthFor(*first_)), false, where, reporter_);
  if (source.facts.alpha == Alpha::kPremultiplied) {
    Guarded("cannot use", where, [&] { source.world->Unmultiply(); });
  }
  return frames_.emplace(frame, std::move(source)).first->second;
}

WorldPtr Footage::Finished(WorldPtr world, const SourceFrame& like, Reporter* reporter) const {
  const std::string where = QuotedInput(like.name);
  if (like.facts.alpha == Alpha::kPremultiplied) {
    Guarded("cannot make", "a frame beside " + where, [&] { world->Premultiply(); });
  }
  return Converted(std::move(world), depth_ ? depth_ : like.facts.depth, false, where, reporter);
}

const Signature& Footage::SignatureOf(std::int64_t frame) {
  Notes& notes = notes_[frame];
  if (!notes.signature) notes.signature = pftool::SignatureOf(*Get(frame).world);
  return *notes.signature;
}

bool Footage::Repeats(std::int64_t frame) {
  if (frame <= 0) return false;
  Notes& notes = notes_[frame];
  if (!notes.repeats) notes.repeats = ShowsTheSame(*Get(frame - 1).world, *Get(frame).world);
  return *notes.repeats;
}

void Footage::Forget(std::int64_t frame) {
  frames_.erase(frames_.begin(), frames_.lower_bound(frame));
  packed_.erase(packed_.begin(), packed_.lower_bound(frame));
  notes_.erase(notes_.begin(), notes_.lower_bound(frame - kNotesKept));
}

}  // namespace pftool
