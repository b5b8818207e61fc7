#include "retime/retimer.h"

#include <fmt/format.h>

#include <algorithm>

#include "retime/journal.h"

namespace pftool {
namespace {

// Names that a message lists before it only counts.
constexpr std::size_t kNamesShown = 5;

FrameNotes NotesOf(Footage* footage) {
  return {[footage](std::int64_t frame) { return footage->Has(frame); },
          [footage](std::int64_t frame) { return footage->Repeats(frame); },
          [footage](std::int64_t frame) -> const Signature& { return footage->SignatureOf(frame); }};
}

}  // namespace

Retimer::Retimer(RetimePlan plan, Footage* footage, const Flow* flow, FrameWriter* writer, Reporter* reporter)
    : plan_(std::move(plan)),
      footage_(footage),
      flow_(flow),
      writer_(writer),
      reporter_(reporter),
      scenes_(NotesOf(footage), plan_.skip_repeats) {}

void Retimer::Run() {
  if (!footage_->Has(0)) {
    throw Failure(ExitCode::kBadData, "cannot retime", "standard input", "it is empty", "check the program before it");
  }
  if (!footage_->Has(1)) {
    throw Failure(footage_->is_stream() ? ExitCode::kBadData : ExitCode::kUsage, "cannot retime",
                  QuotedInput(footage_->NameOf(0)), "it is a single frame and new ones are made between two",
                  "give at least two frames");
  }
  if (!writer_) return RunVectors();
  for (std::int64_t index = 0;; ++index) {
    const Moment moment = plan_.timeline.Of(index);
    if (!Reaches(index, moment)) break;
    reporter_->Picture(writer_->NameOf(index));
    Make(index, moment);
  }
  NoteRepeats();
}

// As Timeline::Has, without knowing how many source frames there are.
bool Retimer::Reaches(std::int64_t index, const Moment& moment) {
  if (plan_.timeline.at) return footage_->Has(index + 1);
  const bool beyond = moment.rest.numerator != 0 && !plan_.timeline.hold_last;
  return footage_->Has(moment.frame) && (!beyond || footage_->Has(moment.frame + 1));
}

// Takes notes of frames up to one: of all in their order where a stream does not give them again.
void Retimer::LookAt(std::int64_t frame, std::int64_t keep_from) {
  const std::int64_t first = footage_->is_stream() ? seen_ + 1 : std::max(seen_ + 1, keep_from);
  for (std::int64_t next = first; next <= frame && footage_->Has(next); ++next) {
    footage_->SignatureOf(next);
    if (footage_->Repeats(next)) repeated_.push_back(footage_->NameOf(next));
    footage_->Forget(std::min(next, keep_from));
    seen_ = next;
  }
}

void Retimer::Make(std::int64_t index, const Moment& moment) {
  const std::int64_t keep_from =
      std::max<std::int64_t>(0, moment.frame - (plan_.skip_repeats ? Scenes::kLongestRun : 0));
  if (writer_->IsThere(index, plan_.resume ? MadeFrom(moment) : "")) {
    footage_->Forget(keep_from);
    return Enter(index, How::kThere, {});
  }
  reporter_->Stage("read", 0, 0.2);
  LookAt(moment.frame + 1, keep_from);
  footage_->Forget(keep_from);
  if (moment.rest.numerator == 0 && !scenes_.Missing(moment.frame)) return Copy(index, moment.frame, How::kCopied, {});
  const auto pair = scenes_.Around(moment.frame);
  if (!pair) return Copy(index, moment.frame, How::kCopied, {});
  LookAt(pair->next, keep_from);
  WriteVectors(*pair);
  MakeBetween(index, moment, *pair);
}

void Retimer::MakeBetween(std::int64_t index, const Moment& moment, const FramePair& pair) {
  const Fraction& rest = moment.rest;
  const std::int64_t passed = (moment.frame - pair.previous) * rest.denominator + rest.numerator,
                     whole = (pair.next - pair.previous) * rest.denominator;
  const double time = static_cast<double>(passed) / static_cast<double>(whole);
  const nlohmann::json more = {
      {"previous", footage_->NameOf(pair.previous)}, {"next", footage_->NameOf(pair.next)}, {"at", time}};
  static const char* const kWhat[] = {"the frames between repeat the nearer one", "the frames between cross-fade",
                                      "the frames between are made as elsewhere"};
  const bool cut = FindCut(pair, kWhat[static_cast<int>(plan_.at_cuts)]);
  if (cut && plan_.at_cuts == AtCuts::kCut) {
    return Copy(index, 2 * passed < whole ? pair.previous : pair.next, How::kHeldAtCut, more);
  }
  const bool plain = cut && plan_.at_cuts == AtCuts::kFade;
  reporter_->Stage("make", 0.2, 0.8);
  const SourceFrame &previous = footage_->Get(pair.previous), &next = footage_->Get(pair.next);
  WorldPtr world = flow_->Between(previous, next, time, plain);
  // A frame between an opaque one and one with alpha has alpha, one between grey and colour has colour.
  const SourceFrame& like = previous.facts.channels >= next.facts.channels ? previous : next;
  world = footage_->Finished(std::move(world), like, reporter_);
  reporter_->Stage("write", 0.8, 1);
  writer_->Write(index, std::move(world), like.facts);
  Enter(index, plain ? How::kFaded : How::kMade, more);
}

void Retimer::Copy(std::int64_t index, std::int64_t source, How how, const nlohmann::json& more) {
  reporter_->Stage("write", 0.8, 1);
  writer_->Copy(index, source);
  nlohmann::json facts = more.is_null() ? nlohmann::json::object() : more;
  facts["source"] = footage_->NameOf(source);
  Enter(index, how, facts);
}

bool Retimer::FindCut(const FramePair& pair, const std::string& what_happens) {
  if (!scenes_.IsCut(pair)) return false;
  const std::string previous = footage_->NameOf(pair.previous), next = footage_->NameOf(pair.next);
  reporter_->Note(fmt::format("cut between {} and {}: {}", QuotedInput(previous), QuotedInput(next), what_happens));
  if (cuts_.empty() || cuts_.back()["next"] != next) {
    cuts_.push_back({{"previous", previous}, {"next", next}, {"strangeness", scenes_.StrangenessOf(pair)}});
  }
  return true;
}

void Retimer::WriteVectors(const FramePair& pair) {
  if (!plan_.vectors || vectors_of_ == pair.previous) return;
  vectors_of_ = pair.previous;
  const SourceFrame &previous = footage_->Get(pair.previous), &next = footage_->Get(pair.next);
  reporter_->Stage("motion", 0.2, 0.5);
  const auto motion = flow_->Motion(previous, next);
  WriteMotion(FieldOf(*motion, previous.facts.width, previous.facts.height), plan_.vectors->Name(pair.previous),
              plan_.overwrite, reporter_);
}

void Retimer::RunVectors() {
  for (std::int64_t frame = 0; footage_->Has(frame + 1); ++frame) {
    reporter_->Picture(footage_->NameOf(frame));
    reporter_->Stage("read", 0, 0.2);
    LookAt(frame + 1, std::max<std::int64_t>(0, frame - Scenes::kLongestRun));
    const auto pair = scenes_.Around(frame);
    if (!pair) break;
    FindCut(*pair, "the motion between means nothing");
    WriteVectors(*pair);
  }
  NoteRepeats();
}

std::string Retimer::MadeFrom(const Moment& moment) {
  // In-between frames depend also on the frames around, which tell cuts and repeats.
  const bool alone = moment.rest.numerator == 0 && !plan_.skip_repeats;
  const std::int64_t reach = alone ? 0 : Scenes::kReach + Scenes::kLongestRun + 1;
  std::string text = fmt::format("{} {}/{} ", plan_.settings, moment.rest.numerator, moment.rest.denominator);
  for (std::int64_t frame = moment.frame - reach; frame <= moment.frame + reach; ++frame) {
    if (!footage_->Has(frame)) {
      text += "- ";
      continue;
    }
    std::string& hash = hashes_[frame];
    if (hash.empty()) hash = HashOfFile(footage_->file(frame).path);
    text += hash + " ";
  }
  return HashOf(text);
}

void Retimer::Enter(std::int64_t index, How how, nlohmann::json more) {
  static const char* const kHow[] = {"source", "made", "source at a cut", "cross-fade at a cut", "there already"};
  ++counts_[how];
  nlohmann::json entry = {{"output", writer_->NameOf(index)}, {"frame", kHow[static_cast<int>(how)]}};
  if (more.is_object()) entry.update(more);
  frames_.push_back(std::move(entry));
}

void Retimer::NoteRepeats() {
  if (repeated_.empty()) return;
  std::string names;
  for (std::size_t i = 0; i < std::min(repeated_.size(), kNamesShown); ++i) {
    names += (i ? ", " : "") + QuotedInput(repeated_[i]);
  }
  if (repeated_.size() > kNamesShown) names += fmt::format(" and {} more", repeated_.size() - kNamesShown);
  reporter_->Note(fmt::format("{} repeated frame{}: {}; {}", repeated_.size(), repeated_.size() == 1 ? "" : "s", names,
                              plan_.skip_repeats ? "runs of up to three were made anew from the frames around"
                                                 : "--repeated skip makes them anew"));
}

nlohmann::json Retimer::Result() const {
  const auto count = [this](How how) {
    const auto found = counts_.find(how);
    return found == counts_.end() ? 0 : found->second;
  };
  return {{"frames", frames_},
          {"cuts", cuts_},
          {"repeated", repeated_},
          {"made", count(How::kMade) + count(How::kFaded)},
          {"copied", count(How::kCopied) + count(How::kHeldAtCut)},
          {"there_already", count(How::kThere)}};
}

}  // namespace pftool
