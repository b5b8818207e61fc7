#include "command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "choices.h"

namespace pftool {
namespace {

const std::map<std::string, ProgressStyle> kProgressStyles = {{"auto", ProgressStyle::kAuto},
                                                              {"bar", ProgressStyle::kBar},
                                                              {"plain", ProgressStyle::kPlain},
                                                              {"json", ProgressStyle::kJson},
                                                              {"none", ProgressStyle::kNone}};

void AddCommonOptions(CLI::App& app, unsigned groups, CommonOptions* common) {
  const char* group = "Common options";
  if (groups & kHasJson) {
    app.add_flag("--json", common->json, "Print results and failures as JSON on standard output")->group(group);
  }
  if (groups & kHasWork) {
    app.add_option_function<std::string>(
           "--progress", [common](const std::string& style) { common->progress = kProgressStyles.at(style); },
           "Progress on standard error; auto = a bar on a terminal")
        ->check(OneOf({"auto", "bar", "plain", "json", "none"}))
        ->type_name("auto|bar|plain|json|none")
        ->group(group);
    app.add_option("--threads", common->threads, "Threads to use; 0 = one per processor. Results do not depend on it")
        ->check(CLI::Range(0, 1024))
        ->type_name("N")
        ->group(group);
    app.add_option("--frames", common->frames, "Frames of a sequence, like 1-100x2,150; all that exist without it")
        ->type_name("LIST")
        ->group(group);
  }
  if (groups & kHasWrite) {
    app.add_flag("--overwrite", common->overwrite, "Replace outputs that exist")->group(group);
  }
}

std::string ExitCodesText() {
  std::string text;
  for (const ExitCodeText* row = kExitCodeTexts; row->meaning; ++row) {
    text += fmt::format("  {:>3}  {}\n", row->code, row->meaning);
  }
  return text;
}

}  // namespace

std::string ExamplesText(const Verb& verb, const std::string& indent) {
  std::string text;
  for (const Example& example : verb.examples) {
    text += fmt::format("{}{}\n{}    {}\n", indent, example.command, indent, example.meaning);
  }
  return text;
}

CommandLine::CommandLine()
    : app_(std::make_unique<CLI::App>("Image processing on pictures and frame sequences", "pf")) {
  app_->set_version_flag("--version", "pf " PF_TOOL_VERSION);
  app_->require_subcommand(0, 1);
  app_->footer("pf VERB --help tells the options of a verb and shows examples.\n\nExit codes:\n" + ExitCodesText());
  for (const Verb& verb : Verbs()) AddVerb(verb);
}

CommandLine::~CommandLine() = default;

CLI::App* CommandLine::GroupApp(const std::string& name) {
  const auto found = groups_.find(name);
  if (found != groups_.end()) return found->second;
  const auto& groups = VerbGroups();
  const auto row =
      std::find_if(groups.begin(), groups.end(), [&](const VerbGroup& group) { return name == group.name; });
  CLI::App* app = app_->add_subcommand(name, row->summary);
  app->require_subcommand(1);
  app->footer("pf " + name + " VERB --help tells the options of a verb and shows examples.");
  return groups_[name] = app;
}

void CommandLine::AddVerb(const Verb& verb) {
  const std::vector<std::string> words = WordsOf(verb);
  CLI::App* app = (words.size() == 1 ? app_.get() : GroupApp(words[0]))->add_subcommand(words.back(), verb.summary);
  app->footer(fmt::format("{}\n\nExamples:\n{}", Wrapped(verb.description, 100), ExamplesText(verb, "  ")));
  actions_[verb.name] = verb.setup(*app);
  AddCommonOptions(*app, verb.groups, &common_);
  apps_[verb.name] = app;
}

const CLI::App& CommandLine::AppOf(const Verb& verb) const { return *apps_.at(verb.name); }

std::string CommandLine::Help(const std::string& verb) const {
  if (verb.empty()) return app_->help();
  if (const auto group = groups_.find(verb); group != groups_.end()) return group->second->help("pf");
  const auto found = apps_.find(verb);
  if (found == apps_.end()) {
    throw UsageFailure("cannot explain", "'" + verb + "'", "there is no such verb", "'pf help' lists them");
  }
  const std::string parent = verb.substr(0, verb.find(' '));
  return found->second->help(parent == verb ? "pf" : "pf " + parent);
}

// What the arguments begin with: a verb, a group, or nothing.
std::string CommandLine::NameIn(int argc, const char* const* argv) const {
  const std::string first = argc > 1 ? argv[1] : "", both = argc > 2 ? first + " " + argv[2] : "";
  return apps_.count(both) ? both : apps_.count(first) || groups_.count(first) ? first : "";
}

ExitCode CommandLine::Run(int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--json") common_.json = true;
  }
  const std::string verb = NameIn(argc, argv);
  try {
    app_->parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    PrintResult(Help(verb));
    return ExitCode::kDone;
  } catch (const CLI::CallForVersion& version) {
    PrintResult(std::string(version.what()) + "\n");
    return ExitCode::kDone;
  } catch (const CLI::ParseError& error) {
    std::string why = error.what();
    std::replace(why.begin(), why.end(), '\n', ' ');
    throw UsageFailure("cannot understand the command line", "", why,
                       "see 'pf" + (verb.empty() ? "" : " " + verb) + " --help'");
  }
  return Dispatch();
}

ExitCode CommandLine::Dispatch() {
  for (const auto& [name, app] : apps_) {
    if (app->parsed()) return actions_.at(name)(common_);
  }
  throw UsageFailure("cannot start", "", "no verb was given", "'pf help' lists the verbs");
}

}  // namespace pftool
