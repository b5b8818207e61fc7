#include "output_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace pftool {
namespace fs = std::filesystem;

namespace {

std::string WithoutSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

Failure NotEmptyFailure(const std::string& path) {
  return {ExitCode::kCannotCreate, "cannot create", QuotedOutput(path), "the folder exists and is not empty",
          "choose another name or give --overwrite"};
}

void CheckFolder(const std::string& path, bool overwrite) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) return;
  if (error) throw CreateFailure(path, error.value());
  if (!fs::is_directory(status)) {
    throw Failure(ExitCode::kCannotCreate, "cannot create", QuotedOutput(path), "a file has that name",
                  "name a folder");
  }
  const bool empty = fs::is_empty(path, error);
  if (error) throw CreateFailure(path, error.value());
  if (!empty && !overwrite) throw NotEmptyFailure(path);
}

mode_t NewFolderMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0777 & ~mask;
}

}  // namespace

OutputFolder::OutputFolder(const std::string& path, bool overwrite)
    : path_(WithoutSlashes(path)), overwrite_(overwrite) {
  if (path_.empty() || path_ == "-") {
    throw UsageFailure("cannot write", "'" + path + "'", "the output is a folder", "name a folder to make");
  }
  CheckFolder(path_, overwrite_);
  std::string temporary = (fs::path(path_).parent_path() / ".pf-XXXXXX").string();
  if (!::mkdtemp(temporary.data())) throw CreateFailure(path_, errno);
  unfinished_ = std::make_unique<UnfinishedFolder>(temporary);
}

std::string OutputFolder::operator/(const std::string& name) const {
  return (fs::path(unfinished_->path()) / name).string();
}

void OutputFolder::Commit(const std::string& last) {
  StopIfSignalled();
  const std::string& from = unfinished_->path();
  if (::chmod(from.c_str(), NewFolderMode()) != 0) throw WriteFailure(path_, errno);
  // This takes the place of an empty folder too.
  if (::rename(from.c_str(), path_.c_str()) == 0) return unfinished_->Keep();
  if (errno != ENOTEMPTY && errno != EEXIST && errno != ENOTDIR && errno != EBUSY) throw CreateFailure(path_, errno);
  CheckFolder(path_, overwrite_);
  MoveFiles(last);
}

void OutputFolder::MoveFiles(const std::string& last) {
  const auto move = [&](const fs::path& file) {
    if (::rename(file.c_str(), (fs::path(path_) / file.filename()).c_str()) != 0) throw CreateFailure(path_, errno);
  };
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(unfinished_->path())) files.push_back(entry.path());
  for (const fs::path& file : files) {
    if (file.filename() != last) move(file);
  }
  move(*this / last);
}

}  // namespace pftool
