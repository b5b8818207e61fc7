#include "plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <system_error>

#include "failure.h"
#include "output_file.h"
#include "pattern.h"

namespace pftool {
namespace fs = std::filesystem;

namespace {

bool Exists(const std::string& path) {
  std::error_code error;
  return fs::exists(fs::symlink_status(path, error));
}

Failure Missing(const std::string& name, const std::string& why, const std::string& next) {
  return {ExitCode::kNoInput, "cannot read", QuotedInput(name), why, next};
}

std::vector<int> FramesOf(const NamePattern& pattern, const std::string& name, const std::string& frames) {
  if (!frames.empty()) return ParseFrames(frames);
  std::vector<int> found = FindFrames(pattern);
  if (found.empty()) throw Missing(name, "no file has a name of that form", "check the name and the folder");
  return found;
}

}  // namespace

bool IsSequenceName(const std::string& name) { return !Exists(name) && ParsePattern(name, nullptr).has_value(); }

Inputs::Inputs(const std::vector<std::string>& names, const std::string& frames) {
  for (const std::string& name : names) Add(name, frames);
  if (!frames.empty() && frames_.empty()) {
    throw UsageFailure("cannot use --frames", "'" + frames + "'", "no input is a sequence",
                       "name the input like shot.%04d.exr or shot.####.exr");
  }
}

void Inputs::RepeatFor(const std::vector<int>& frames) {
  const InputName only = files_.front();
  files_.assign(frames.size(), only);
  frames_ = frames;
}

std::vector<Inputs> GroupInputs(const std::vector<std::string>& names, const std::string& frames) {
  if (std::count(names.begin(), names.end(), "-") > 1) {
    throw UsageFailure("cannot read", "standard input", "it is named twice", "name it once");
  }
  std::vector<Inputs> groups;
  std::vector<int> all;
  std::string longest;
  for (const std::string& name : names) {
    groups.push_back(Inputs({name}, IsSequenceName(name) ? frames : ""));
    const std::vector<int>& found = groups.back().frames();
    if (found.empty()) continue;
    if (!all.empty() && all.size() != found.size()) {
      throw UsageFailure("cannot pair", "the sequences",
                         fmt::format("'{}' has {} pictures and '{}' {}", longest, all.size(), name, found.size()),
                         "choose frames that all have with --frames");
    }
    if (all.empty()) longest = name;
    all = all.empty() ? found : all;
  }
  if (all.empty() && !frames.empty()) all = ParseFrames(frames);
  for (Inputs& group : groups) {
    if (!all.empty() && group.frames().empty()) group.RepeatFor(all);
  }
  return groups;
}

InputPairs PairInputs(const std::string& first, const std::string& second, const std::string& frames) {
  std::vector<Inputs> groups = GroupInputs({first, second}, frames);
  return {std::move(groups[0]), std::move(groups[1])};
}

void Inputs::Add(const std::string& name, const std::string& frames) {
  if (name == "-") {
    if (standard_input_) throw UsageFailure("cannot read", "standard input", "it is named twice", "name it once");
    standard_input_ = SpoolStandardInput();
    files_.push_back({name, standard_input_->path()});
    return;
  }
  // A file of exactly this name is meant, whatever characters it has.
  std::string plain = name;
  const auto pattern = Exists(name) ? std::nullopt : ParsePattern(name, &plain);
  if (!pattern) {
    if (!Exists(plain)) throw Missing(plain, ErrorText(ENOENT), "check the name");
    files_.push_back({plain, plain});
    return;
  }
  for (int frame : FramesOf(*pattern, name, frames)) {
    const std::string file = pattern->Name(frame);
    if (!Exists(file)) throw Missing(file, ErrorText(ENOENT), "check --frames");
    files_.push_back({file, file});
    frames_.push_back(frame);
  }
}

namespace {

bool IsFolder(const std::string& output) {
  std::error_code error;
  return output.back() == '/' || fs::is_directory(output, error);
}

std::string InFolder(const std::string& folder, const InputName& input) {
  if (input.name == "-") {
    throw UsageFailure("cannot write to the folder", "'" + folder + "'", "standard input has no name to keep",
                       "name the file to write");
  }
  return (fs::path(folder) / fs::path(input.name).filename()).string();
}

std::string OutputFor(const Inputs& inputs, std::size_t index, const std::string& output) {
  if (output == "-") return output;
  if (IsFolder(output)) return InFolder(output, inputs.files()[index]);
  std::string plain;
  const auto pattern = ParsePattern(output, &plain);
  if (!pattern) return plain;
  if (inputs.frames().size() != inputs.files().size()) {
    throw UsageFailure("cannot write", "'" + output + "'", "it has a frame number and the input has none",
                       "name one file, or give a sequence as input");
  }
  return pattern->Name(inputs.frames()[index]);
}

/// The file behind a name, so that two names of one file are found equal.
std::string Identity(const std::string& path) {
  if (path == "-") return path;
  std::error_code error;
  const fs::path canonical = fs::weakly_canonical(path, error);
  return error ? path : canonical.string();
}

void RefuseCollisions(const std::vector<Job>& jobs) {
  std::map<std::string, const Job*> outputs;
  for (const Job& job : jobs) {
    const auto [other, is_new] = outputs.emplace(Identity(job.output), &job);
    if (is_new) continue;
    throw UsageFailure("cannot write", QuotedOutput(job.output),
                       fmt::format("{} and {} would both become it", QuotedInput(other->second->input.name),
                                   QuotedInput(job.input.name)),
                       "give a folder or a name with %04d as output");
  }
  for (const Job& job : jobs) {
    const auto found = outputs.find(Identity(job.input.path));
    if (found == outputs.end() || found->second == &job || job.input.name == "-") continue;
    throw UsageFailure("cannot write", QuotedOutput(found->second->output),
                       fmt::format("it is also the input that becomes {}", QuotedOutput(job.output)),
                       "write to another folder");
  }
}

}  // namespace

std::vector<Job> PairWithOutputs(const Inputs& inputs, const std::string& output, bool overwrite) {
  if (output.empty()) {
    throw UsageFailure("cannot write", "the output", "its name is empty", "name it with -o");
  }
  std::vector<Job> jobs;
  for (std::size_t i = 0; i < inputs.files().size(); ++i) {
    jobs.push_back({inputs.files()[i], OutputFor(inputs, i, output)});
  }
  RefuseCollisions(jobs);
  for (const Job& job : jobs) CheckOutputPath(job.output, overwrite);
  return jobs;
}

}  // namespace pftool
