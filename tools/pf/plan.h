/// \file
/// From names on the command line to pairs of files, checked before anything is written.
#ifndef TOOLS_PF_PLAN_H
#define TOOLS_PF_PLAN_H

#include <memory>
#include <string>
#include <vector>

#include "signals.h"

namespace pftool {

/// One picture to read: what the user calls it, and the file that holds it.
struct InputName {
  std::string name;  ///< "-" for standard input
  std::string path;  ///< standard input is copied to a temporary file first
};

/// One picture to make from another.
struct Job {
  InputName input;
  std::string output;
};

/// True for a name with the place of a frame number that is not itself the name of a file.
/// \throws Failure (64) for a name that is not understood.
bool IsSequenceName(const std::string& name);

/// The inputs of a run, sequences taken apart. Keeps the copy of standard input alive.
class Inputs {
 public:
  /// \param names files, sequences, or "-" once \param frames text of --frames; empty = all that exist
  /// \throws Failure 64 for names that are not understood and --frames without a sequence, 66 for missing
  ///   files.
  Inputs(const std::vector<std::string>& names, const std::string& frames);

  const std::vector<InputName>& files() const { return files_; }
  /// The frame of each file when the only name is a sequence.
  const std::vector<int>& frames() const { return frames_; }
  /// Takes the only file once for each frame, as if it were a sequence of equal pictures.
  void RepeatFor(const std::vector<int>& frames);

 private:
  void Add(const std::string& name, const std::string& frames);

  std::vector<InputName> files_;
  std::vector<int> frames_;
  std::unique_ptr<UnfinishedFile> standard_input_;
};

/// The inputs of a run that belong together, equally many files each. A single picture beside a sequence is used for
/// every frame; single pictures alone are used for every frame of --frames. \throws Failure as Inputs does; 64 for
/// sequences of unequal length and standard input twice.
std::vector<Inputs> GroupInputs(const std::vector<std::string>& names, const std::string& frames);

/// Two inputs of one run, equally many files each.
struct InputPairs {
  Inputs first, second;
};
/// GroupInputs of two names.
InputPairs PairInputs(const std::string& first, const std::string& second, const std::string& frames);

/// Pairs inputs with outputs. The output is one file for one picture, a sequence for a sequence, an existing
/// folder (or a name that ends in "/") for any number of pictures, which keep their names, or "-".
/// \throws Failure 64 when two pictures would get one name, or an output is also another input; 73 when an
///   output cannot be created.
std::vector<Job> PairWithOutputs(const Inputs& inputs, const std::string& output, bool overwrite);

}  // namespace pftool

#endif
