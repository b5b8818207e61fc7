/// \file
/// Outputs that appear whole or not at all.
#ifndef TOOLS_PF_OUTPUT_FILE_H
#define TOOLS_PF_OUTPUT_FILE_H

#include <OpenImageIO/filesystem.h>

#include <memory>
#include <string>
#include <string_view>

#include "signals.h"

namespace pftool {

/// A file that is written under a temporary name in the folder of its final name, and renamed when it is
/// complete. Whatever happens before, the temporary file is removed. For "-" the file is made in the
/// folder for temporary files and copied to standard output when it is complete.
class OutputFile {
 public:
  /// \throws Failure 73 when the file cannot be created, or exists and `overwrite` is false.
  OutputFile(std::string path, bool overwrite);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Where a picture writer puts its bytes. Some writers drop write errors; the proxy remembers the first.
  OIIO::Filesystem::IOProxy* proxy();
  /// \throws Failure (74) when a write has failed so far.
  void CheckWritten() const;
  /// Appends text. \throws Failure (74).
  void Write(std::string_view text);
  /// Gives the file its name, or hands it to standard output. \throws Failure 73 or 74.
  void Commit();

  const std::string& path() const { return path_; }

 private:
  class Proxy;
  void CopyToStandardOutput();
  void Rename();

  std::string path_;
  bool overwrite_;
  int file_ = -1;
  std::unique_ptr<UnfinishedFile> unfinished_;
  std::unique_ptr<Proxy> proxy_;
};

/// Refuses an output early that OutputFile would refuse: its folder is missing or closed, it is a folder,
/// or it exists and `overwrite` is false. \throws Failure (73).
void CheckOutputPath(const std::string& path, bool overwrite);

/// Copies standard input to a file in the folder for temporary files that is removed with the object.
/// \throws Failure 66 when there is nothing to read, 74 when it cannot be stored.
std::unique_ptr<UnfinishedFile> SpoolStandardInput();

}  // namespace pftool

#endif
