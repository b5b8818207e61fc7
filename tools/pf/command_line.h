/// \file
/// The command line, made from the table of verbs.
#ifndef TOOLS_PF_COMMAND_LINE_H
#define TOOLS_PF_COMMAND_LINE_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "verb.h"

namespace CLI {
class App;
}

namespace pftool {

/// The parser with one sub-command per verb.
class CommandLine {
 public:
  CommandLine();
  ~CommandLine();

  /// Reads the arguments and runs the verb. \throws Failure (64) for a bad command line.
  ExitCode Run(int argc, const char* const* argv);
  /// Values of the common options, as far as they have been read.
  const CommonOptions& common() const { return common_; }

  /// Help of the program (empty name), of one verb or of one group. \throws Failure (64) for an unknown verb.
  std::string Help(const std::string& verb) const;
  /// The parser of a verb, for what is generated from it.
  const CLI::App& AppOf(const Verb& verb) const;

 private:
  void AddVerb(const Verb& verb);
  CLI::App* GroupApp(const std::string& name);
  std::string NameIn(int argc, const char* const* argv) const;
  ExitCode Dispatch();

  std::unique_ptr<CLI::App> app_;
  CommonOptions common_;
  std::map<std::string, CLI::App*> apps_, groups_;
  std::map<std::string, Action> actions_;
};

/// Examples of a verb as text, each line led by `indent`.
std::string ExamplesText(const Verb& verb, const std::string& indent);

}  // namespace pftool

#endif
