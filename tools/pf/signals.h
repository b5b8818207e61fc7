/// \file
/// Signals and the unfinished files that must not outlive the process.
#ifndef TOOLS_PF_SIGNALS_H
#define TOOLS_PF_SIGNALS_H

#include <string>

#include "failure.h"

namespace pftool {

/// SIGINT, SIGTERM and SIGHUP set a flag that every loop polls; a second one removes the unfinished files
/// and ends the process at once. SIGPIPE is ignored, so that writing to a closed pipe is an error code.
void InstallSignalHandlers();

/// The signal that has arrived, or 0. Any thread.
int PendingSignal();

/// \throws Interrupted when a signal has arrived.
void StopIfSignalled();

/// Registers an unfinished file, and removes it at the end of the scope unless it was kept.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(std::string path);
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  const std::string& path() const { return path_; }
  /// The file has got its final name, or is gone.
  void Keep();

 private:
  std::string path_;
  int slot_;
};

/// The same for a folder and the files in it; folders inside are left alone.
class UnfinishedFolder {
 public:
  explicit UnfinishedFolder(std::string path);
  ~UnfinishedFolder();
  UnfinishedFolder(const UnfinishedFolder&) = delete;
  UnfinishedFolder& operator=(const UnfinishedFolder&) = delete;

  const std::string& path() const { return path_; }
  void Keep();

 private:
  std::string path_;
};

}  // namespace pftool

#endif
