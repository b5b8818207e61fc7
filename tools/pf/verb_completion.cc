#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "choices.h"
#include "command_line.h"

namespace pftool {
namespace {

/// The long and short names of a verb's options, as in "--size --percent -o".
std::string OptionNames(const CLI::App& app) {
  std::string names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names += "--" + name + " ";
    for (const std::string& name : option->get_snames()) names += "-" + name + " ";
  }
  return names;
}

/// "draft|high" of an option's type name as "draft high"; nothing for other types.
std::string ChoicesOf(const CLI::Option& option) {
  std::string choices = option.get_type_name();
  if (choices.find('|') == std::string::npos) return "";
  std::replace(choices.begin(), choices.end(), '|', ' ');
  return choices;
}

std::string Choices(const CommandLine& line) {
  std::map<std::string, std::string> rows;
  for (const Verb& verb : Verbs()) {
    for (const CLI::Option* option : line.AppOf(verb).get_options()) {
      const std::string choices = ChoicesOf(*option);
      if (!choices.empty() && !option->get_lnames().empty()) rows["--" + option->get_lnames()[0]] = choices;
    }
  }
  std::string text;
  for (const auto& [name, choices] : rows) {
    text += fmt::format("    {}) COMPREPLY=($(compgen -W '{}' -- \"$word\")); return ;;\n", name, choices);
  }
  return text;
}

/// First words, and the second words of each group as a line of the script.
std::string FirstWords() {
  std::string words;
  for (const Verb& verb : Verbs()) {
    const std::string first = WordsOf(verb)[0] + " ";
    if ((" " + words).find(" " + first) == std::string::npos) words += first;
  }
  return words;
}

std::string SecondWords() {
  std::string lines;
  for (const VerbGroup& group : VerbGroups()) {
    std::string words;
    for (const Verb& verb : Verbs()) {
      if (WordsOf(verb).size() == 2 && WordsOf(verb)[0] == group.name) words += WordsOf(verb)[1] + " ";
    }
    lines += fmt::format(
        "    {}) verb=\"$verb ${{COMP_WORDS[2]}}\"\n"
        "      if [ \"$COMP_CWORD\" -eq 2 ]; then COMPREPLY=($(compgen -W '{}' -- \"$word\")); return; fi ;;\n",
        group.name, words);
  }
  return lines;
}

std::string BashScript() {
  const CommandLine line;
  std::string cases;
  for (const Verb& verb : Verbs()) {
    cases += fmt::format("    '{}') options='{}' ;;\n", verb.name, OptionNames(line.AppOf(verb)));
  }
  return fmt::format(
      "# Completion of pf for bash. Load it with: eval \"$(pf completion bash)\"\n"
      "_pf() {{\n"
      "  local word=\"${{COMP_WORDS[COMP_CWORD]}}\" before=\"${{COMP_WORDS[COMP_CWORD-1]}}\"\n"
      "  local verb=\"${{COMP_WORDS[1]}}\" options=''\n"
      "  COMPREPLY=()\n"
      "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
      "    COMPREPLY=($(compgen -W '{0}--help --version' -- \"$word\")); return\n"
      "  fi\n"
      "  case \"$verb\" in\n{3}  esac\n"
      "  case \"$before\" in\n{1}"
      "    help) COMPREPLY=($(compgen -W '{0}' -- \"$word\")); return ;;\n"
      "    completion) COMPREPLY=($(compgen -W 'bash' -- \"$word\")); return ;;\n"
      "  esac\n"
      "  case \"$verb\" in\n{2}  esac\n"
      "  if [[ \"$word\" == -* ]]; then COMPREPLY=($(compgen -W \"$options\" -- \"$word\")); fi\n"
      "}}\n"
      "complete -o default -F _pf pf\n",
      FirstWords(), Choices(line), cases, SecondWords());
}

Action Setup(CLI::App& app) {
  const auto shell = std::make_shared<std::string>();
  app.add_option("shell", *shell, "Shell")->required()->check(OneOf({"bash"}))->type_name("bash");
  return [shell](const CommonOptions&) {  // the option writes to it
    PrintResult(BashScript());
    return ExitCode::kDone;
  };
}

}  // namespace

Verb CompletionVerb() {
  return {"completion",
          "Print a completion script for a shell",
          "Completes verbs, options and the values of options.",
          {{"eval \"$(pf completion bash)\"", "complete in this shell"}},
          0,
          Setup};
}

}  // namespace pftool
