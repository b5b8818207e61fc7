/// \file
/// Where retimed frames go: files of a sequence, or a stream.
#ifndef TOOLS_PF_RETIME_WRITER_H
#define TOOLS_PF_RETIME_WRITER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "pattern.h"
#include "picture_options.h"
#include "retime/footage.h"
#include "retime/journal.h"

namespace pftool {

/// Takes output frames by their number, from 0 on.
class FrameWriter {
 public:
  virtual ~FrameWriter() = default;
  virtual std::string NameOf(std::int64_t index) const = 0;
  /// A source frame as it is: bit for bit where the output has the input's form.
  virtual void Copy(std::int64_t index, std::int64_t source) = 0;
  /// A frame that was made, in the depth and the convention of alpha that it is to have.
  virtual void Write(std::int64_t index, WorldPtr world, const PictureFacts& like) = 0;
  /// Whether the frame is there already, made from the same; such frames need not be given. Else notes what the
  /// frame that comes next is made from.
  virtual bool IsThere(std::int64_t, const std::string&) { return false; }
};

/// The names of output frames.
class OutputNames {
 public:
  /// \param output a sequence, a folder for frames that keep the input's form of name, "-", or a file, which serves
  /// when only one frame comes
  /// \param input pattern of the input's names, if it is a sequence
  /// \throws Failure (64)
  OutputNames(const std::string& output, const std::optional<NamePattern>& input, int first_number);
  std::string Name(std::int64_t index) const;
  /// Refuses more than one frame where all would get one name, and numbers above the largest. \throws Failure (64).
  void RequireFor(std::int64_t count) const;
  bool is_sequence() const { return pattern_.has_value(); }
  /// Name of the journal beside the frames.
  std::string JournalName() const;

 private:
  std::string plain_;
  std::optional<NamePattern> pattern_;
  int first_number_;
};

/// How files are written.
struct FileOutput {
  OutputNames names;
  std::string format;       ///< text of --format
  int depth = 0;            ///< of --depth, or 0
  bool keep_values = true;  ///< copies may take the file's bytes
  bool overwrite = false;
  std::optional<Journal> journal;
};
std::unique_ptr<FrameWriter> NewFileWriter(FileOutput output, Footage* footage, Reporter* reporter);

/// Pictures of a stream on standard output. \param depth of --depth, or 0
std::unique_ptr<FrameWriter> NewStreamWriter(int depth, Footage* footage, Reporter* reporter);

}  // namespace pftool

#endif
