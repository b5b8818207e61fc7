/// \file
/// What the frames of a sequence were made from, so that a later run makes only what is missing or has changed.
#ifndef TOOLS_PF_RETIME_JOURNAL_H
#define TOOLS_PF_RETIME_JOURNAL_H

#include <map>
#include <optional>
#include <string>

namespace pftool {

/// A hash of 128 bits as text, of bytes and of a file's bytes. \throws Failure (66) for a file that cannot be read.
std::string HashOf(const std::string& bytes);
std::string HashOfFile(const std::string& path);

/// A text file beside the frames with one line for each: the hash of what it was made from, the hash of its bytes,
/// its name. Lines are appended as frames are finished; of two lines for one frame the later counts, and a line that
/// was cut off is no line.
class Journal {
 public:
  explicit Journal(std::string path);

  /// Whether the file `path` is there as it was written, made from that.
  bool IsThere(const std::string& path, const std::string& made_from) const;
  /// Whether the file is there as it was written, made from whatever.
  bool IsOurs(const std::string& path) const;
  /// Enters a finished file. \throws Failure 73 or 74 when the journal cannot be written.
  void Add(const std::string& path, const std::string& made_from);

 private:
  struct Entry {
    std::string made_from, content;
  };

  std::string path_;
  std::map<std::string, Entry> entries_;
};

}  // namespace pftool

#endif
