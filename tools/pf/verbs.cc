#include <cerrno>
#include <cstdio>

#include "verb.h"

namespace pftool {

const std::vector<Verb>& Verbs() {
  static const std::vector<Verb> verbs = {
      InfoVerb(),     ConvertVerb(),     ScaleVerb(),    BlurVerb(),       FadeVerb(),     RetimeVerb(),
      BlendVerb(),    ModesVerb(),       ExplainVerb(),  GalleryVerb(),    MaskMakeVerb(), MaskInvertVerb(),
      MaskFadeVerb(), MaskCombineVerb(), MaskBlurVerb(), MaskApplyVerb(),  PaintVerb(),    CompareVerb(),
      SheetVerb(),    SelftestVerb(),    HelpVerb(),     CompletionVerb(), ManVerb()};
  return verbs;
}

const std::vector<VerbGroup>& VerbGroups() {
  static const std::vector<VerbGroup> groups = {{"mask", "Make, change, combine and apply masks"}};
  return groups;
}

std::vector<std::string> WordsOf(const Verb& verb) {
  const std::string name = verb.name;
  const std::size_t space = name.find(' ');
  if (space == std::string::npos) return {name};
  return {name.substr(0, space), name.substr(space + 1)};
}

std::string Wrapped(const std::string& text, std::size_t width) {
  std::string out = text;
  std::size_t line = 0, space = std::string::npos;
  for (std::size_t i = 0; i < out.size(); ++i) {
    if (out[i] == ' ') space = i;
    if (out[i] == '\n') {
      line = i + 1;
      space = std::string::npos;
    }
    if (i - line < width || space == std::string::npos) continue;
    out[space] = '\n';
    line = space + 1;
    space = std::string::npos;
  }
  return out;
}

void PrintResult(const std::string& text) {
  const bool ok = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  if (!ok) throw WriteFailure("-", errno);
}

}  // namespace pftool
