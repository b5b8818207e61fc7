#include <fmt/format.h>

#include <filesystem>

#include "retime/writer.h"

namespace pftool {
namespace fs = std::filesystem;

OutputNames::OutputNames(const std::string& output, const std::optional<NamePattern>& input, int first_number)
    : plain_(output), first_number_(first_number) {
  if (output.empty()) {
    throw UsageFailure("cannot write", "the output", "its name is empty", "name it with -o");
  }
  std::error_code error;
  if (output.back() != '/' && !fs::is_directory(output, error)) {
    if (output != "-") pattern_ = ParsePattern(output, &plain_);
    return;
  }
  if (!input) {
    throw UsageFailure("cannot write to the folder", "'" + output + "'", "the input is no sequence whose names to keep",
                       "name the frames like " + (fs::path(output) / "out.%04d.png").string());
  }
  pattern_ = *input;
  pattern_->head = (fs::path(output) / fs::path(input->head + "x").filename()).string();
  pattern_->head.pop_back();
}

std::string OutputNames::Name(std::int64_t index) const {
  return pattern_ ? pattern_->Name(first_number_ + static_cast<int>(index)) : plain_;
}

void OutputNames::RequireFor(std::int64_t count) const {
  if (count > kMaxFrames || first_number_ + count > kMaxFrame) {
    throw UsageFailure("cannot write", QuotedOutput(plain_), fmt::format("{} frames would be made", count),
                       fmt::format("choose a part with --frames; at most {} are made at once", +kMaxFrames));
  }
  if (count <= 1 || pattern_ || plain_ == "-") return;
  throw UsageFailure("cannot write", QuotedOutput(plain_),
                     fmt::format("{} frames would be made and the name has no place for their number", count),
                     "name them like out.%04d.png, or ask for one frame between two pictures with --at");
}

std::string OutputNames::JournalName() const { return pattern_->head + "retime.log"; }

}  // namespace pftool
