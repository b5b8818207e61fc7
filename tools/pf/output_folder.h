/// \file
/// Folders that appear whole or not at all.
#ifndef TOOLS_PF_OUTPUT_FOLDER_H
#define TOOLS_PF_OUTPUT_FOLDER_H

#include <memory>
#include <string>

#include "signals.h"

namespace pftool {

/// A folder that is filled under a temporary name beside its final one, and renamed when it is complete. Whatever
/// happens before, nothing is left. One at a time.
class OutputFolder {
 public:
  /// An existing folder is used when it is empty, or when `overwrite` is true: then files of equal names are replaced
  /// and others stay. \throws Failure 73 when it cannot be.
  OutputFolder(const std::string& path, bool overwrite);

  /// The name to write a file of the folder under.
  std::string operator/(const std::string& name) const;
  /// Gives the folder its name, or moves its files into the existing one, `last` after all others.
  /// \throws Failure 73.
  void Commit(const std::string& last);

 private:
  void MoveFiles(const std::string& last);

  std::string path_;
  bool overwrite_;
  std::unique_ptr<UnfinishedFolder> unfinished_;
};

}  // namespace pftool

#endif
