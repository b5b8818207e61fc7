#include "output_file.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace pftool {
namespace fs = std::filesystem;

namespace {

/// Writes all bytes. \return 0 or an errno.
int WriteAll(int file, const void* bytes, std::size_t size) {
  const char* at = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = ::write(file, at, size);
    if (written < 0 && errno == EINTR && !PendingSignal()) continue;
    if (written < 0) return errno;
    at += written;
    size -= static_cast<std::size_t>(written);
  }
  return 0;
}

mode_t NewFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

/// Creates a file with a name of its own. \return its descriptor, or -1 with errno set.
int CreateTemporary(const fs::path& folder, const std::string& suffix, std::string* path) {
  *path = (folder / (".pf-XXXXXX" + suffix)).string();
  return ::mkostemps(path->data(), static_cast<int>(suffix.size()), O_CLOEXEC);
}

fs::path TemporaryFolder() {
  std::error_code error;
  const fs::path folder = fs::temp_directory_path(error);
  return error ? fs::path("/tmp") : folder;
}

Failure ExistsFailure(const std::string& path) {
  return {ExitCode::kCannotCreate, "cannot create", QuotedOutput(path), "the file exists",
          "choose another name or give --overwrite"};
}

}  // namespace

/// Random access over the descriptor that remembers the first error.
class OutputFile::Proxy : public OIIO::Filesystem::IOProxy {
 public:
  Proxy(int file, const std::string& name) : IOProxy(name, Write), file_(file) {}
  // Not "file": codecs take that as leave to use a stdio stream behind the proxy.
  const char* proxytype() const override { return "descriptor"; }
  std::size_t write(const void* bytes, std::size_t size) override {
    const std::size_t written = pwrite(bytes, size, m_pos);
    m_pos += static_cast<std::int64_t>(written);
    return written;
  }
  std::size_t pwrite(const void* bytes, std::size_t size, std::int64_t offset) override {
    const char* at = static_cast<const char*>(bytes);
    std::size_t left = size;
    while (left > 0 && error_number_ == 0) {
      const ssize_t written = ::pwrite(file_, at, left, offset);
      if (written < 0 && errno == EINTR) continue;
      if (written < 0) error_number_ = errno;
      if (written <= 0) break;
      at += written;
      offset += written;
      left -= static_cast<std::size_t>(written);
    }
    return size - left;
  }
  std::size_t read(void* bytes, std::size_t size) override {
    const std::size_t got = pread(bytes, size, m_pos);
    m_pos += static_cast<std::int64_t>(got);
    return got;
  }
  std::size_t pread(void* bytes, std::size_t size, std::int64_t offset) override {
    const ssize_t got = ::pread(file_, bytes, size, offset);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
  }
  std::size_t size() const override {
    struct stat status = {};
    return ::fstat(file_, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
  }
  int error_number() const { return error_number_; }

 private:
  int file_;
  int error_number_ = 0;
};

OutputFile::OutputFile(std::string path, bool overwrite) : path_(std::move(path)), overwrite_(overwrite) {
  CheckOutputPath(path_, overwrite_);
  const fs::path final_path(path_);
  const fs::path folder = path_ == "-" ? TemporaryFolder() : final_path.parent_path();
  std::string temporary;
  file_ = CreateTemporary(folder, path_ == "-" ? "" : final_path.extension().string(), &temporary);
  if (file_ < 0) throw CreateFailure(path_, errno);
  unfinished_ = std::make_unique<UnfinishedFile>(temporary);
  proxy_ = std::make_unique<Proxy>(file_, path_);
}

OutputFile::~OutputFile() {
  if (file_ >= 0) ::close(file_);
}

OIIO::Filesystem::IOProxy* OutputFile::proxy() { return proxy_.get(); }

void OutputFile::CheckWritten() const {
  if (proxy_->error_number()) throw WriteFailure(path_, proxy_->error_number());
}

void OutputFile::Write(std::string_view text) {
  proxy_->write(text.data(), text.size());
  CheckWritten();
}

void OutputFile::Commit() {
  StopIfSignalled();
  CheckWritten();
  if (path_ == "-") return CopyToStandardOutput();
  struct stat before = {};
  const bool replaces = ::stat(path_.c_str(), &before) == 0;
  if (::fchmod(file_, replaces ? before.st_mode & 07777 : NewFileMode()) != 0) throw WriteFailure(path_, errno);
  if (::close(std::exchange(file_, -1)) != 0) throw WriteFailure(path_, errno);
  Rename();
  unfinished_->Keep();
}

void OutputFile::Rename() {
  const char* from = unfinished_->path().c_str();
  if (overwrite_) {
    if (::rename(from, path_.c_str()) != 0) throw CreateFailure(path_, errno);
    return;
  }
  if (::renameat2(AT_FDCWD, from, AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0) return;
  if (errno == EEXIST) throw ExistsFailure(path_);
  if (errno != EINVAL && errno != ENOSYS) throw CreateFailure(path_, errno);
  // The file system knows no exclusive rename: look, then rename.
  CheckOutputPath(path_, false);
  if (::rename(from, path_.c_str()) != 0) throw CreateFailure(path_, errno);
}

void OutputFile::CopyToStandardOutput() {
  std::array<char, 1 << 16> buffer;
  if (::lseek(file_, 0, SEEK_SET) != 0) throw WriteFailure(path_, errno);
  for (;;) {
    const ssize_t got = ::read(file_, buffer.data(), buffer.size());
    if (got < 0) throw WriteFailure(path_, errno);
    if (got == 0) return;
    const int error = WriteAll(STDOUT_FILENO, buffer.data(), static_cast<std::size_t>(got));
    StopIfSignalled();
    if (error) throw WriteFailure(path_, error);
  }
}

void CheckOutputPath(const std::string& path, bool overwrite) {
  if (path == "-") return;
  const fs::path folder = fs::path(path).parent_path();
  struct stat status = {};
  if (::stat(folder.empty() ? "." : folder.c_str(), &status) != 0) throw CreateFailure(path, errno);
  if (!S_ISDIR(status.st_mode)) throw CreateFailure(path, ENOTDIR);
  if (::access(folder.empty() ? "." : folder.c_str(), W_OK) != 0) throw CreateFailure(path, errno);
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno != ENOENT) throw CreateFailure(path, errno);
    return;
  }
  if (S_ISDIR(status.st_mode)) {
    throw Failure(ExitCode::kCannotCreate, "cannot create", QuotedOutput(path), "a folder has that name",
                  "name the file to write");
  }
  if (!overwrite) throw ExistsFailure(path);
}

std::unique_ptr<UnfinishedFile> SpoolStandardInput() {
  std::string path;
  const int file = CreateTemporary(TemporaryFolder(), "", &path);
  if (file < 0) throw CreateFailure(path, errno);
  auto spool = std::make_unique<UnfinishedFile>(path);
  std::array<char, 1 << 16> buffer;
  int error = 0;
  ssize_t got = 0;
  std::size_t total = 0;
  while (error == 0 && !PendingSignal() && (got = ::read(STDIN_FILENO, buffer.data(), buffer.size())) > 0) {
    error = WriteAll(file, buffer.data(), static_cast<std::size_t>(got));
    total += static_cast<std::size_t>(got);
  }
  if (got < 0) error = errno;
  ::close(file);
  StopIfSignalled();
  if (got < 0) {
    throw Failure(ExitCode::kNoInput, "cannot read", "standard input", ErrorText(error), "connect a file or a pipe");
  }
  if (error) throw WriteFailure(path, error);
  if (total == 0) {
    throw Failure(ExitCode::kBadData, "cannot read", "standard input", "it is empty", "check the program before it");
  }
  return spool;
}

}  // namespace pftool
