/// \file
/// The table of verbs. Everything that lists verbs (command line, help, man page, completions) reads it.
#ifndef TOOLS_PF_VERB_H
#define TOOLS_PF_VERB_H

#include <functional>
#include <string>
#include <vector>

#include "failure.h"
#include "reporter.h"

namespace CLI {
class App;
}

namespace pftool {

/// Options that verbs share. Which of them a verb has stands in its row.
struct CommonOptions {
  bool json = false;
  bool overwrite = false;
  ProgressStyle progress = ProgressStyle::kAuto;
  int threads = 0;
  std::string frames;
};

/// Groups of common options.
enum : unsigned {
  kHasJson = 1,
  kHasWork = 2,   ///< --progress, --threads, --frames
  kHasWrite = 4,  ///< --overwrite
  kHasAll = kHasJson | kHasWork | kHasWrite
};

/// What a verb does once the command line has been read.
using Action = std::function<ExitCode(const CommonOptions&)>;

struct Example {
  const char* command;
  const char* meaning;
};

struct Verb {
  const char* name;         ///< one word, or the word of a group and one of its own: "mask blur"
  const char* summary;      ///< one line
  const char* description;  ///< paragraphs, separated by an empty line
  std::vector<Example> examples;
  unsigned groups;                 ///< kHas*
  Action (*setup)(CLI::App& app);  ///< adds the verb's own options
};

/// All verbs, in the order of the help.
const std::vector<Verb>& Verbs();

/// The first word of verbs with two.
struct VerbGroup {
  const char* name;
  const char* summary;
};
const std::vector<VerbGroup>& VerbGroups();

/// The words of a verb's name.
std::vector<std::string> WordsOf(const Verb& verb);

/// Breaks paragraphs into lines of at most `width` characters.
std::string Wrapped(const std::string& text, std::size_t width);

/// Prints a result on stdout. \throws Failure (74) when stdout cannot take it.
void PrintResult(const std::string& text);

// The rows, one file each.
Verb InfoVerb();
Verb ConvertVerb();
Verb ScaleVerb();
Verb CompareVerb();
Verb BlurVerb();
Verb FadeVerb();
Verb RetimeVerb();
Verb BlendVerb();
Verb ModesVerb();
Verb ExplainVerb();
Verb GalleryVerb();
Verb MaskMakeVerb();
Verb MaskInvertVerb();
Verb MaskFadeVerb();
Verb MaskCombineVerb();
Verb MaskBlurVerb();
Verb MaskApplyVerb();
Verb PaintVerb();
Verb SheetVerb();
Verb SelftestVerb();
Verb HelpVerb();
Verb CompletionVerb();
Verb ManVerb();

}  // namespace pftool

#endif
