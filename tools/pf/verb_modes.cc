#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "PF/PF_TransferModes.h"
#include "modes.h"
#include "picture_options.h"

namespace pftool {
namespace {

ExitCode PrintModes(const CommonOptions& common) {
  if (common.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const ModeText& mode : ModeTexts()) {
      list.push_back({{"mode", mode.number},
                      {"name", mode.name},
                      {"function", PF_GetTransferModeName(mode.number)},
                      {"flag", PF_GetTransferFlags(mode.number)},
                      {"formula", mode.formula}});
    }
    PrintResult(JsonText(list));
    return ExitCode::kDone;
  }
  std::string text = fmt::format("{:>4}  {:<19}{:<5}{}\n", "mode", "name", "flag", "formula");
  for (const ModeText& mode : ModeTexts()) {
    text +=
        fmt::format("{:>4}  {:<19}{:<5}{}\n", mode.number, mode.name, PF_GetTransferFlags(mode.number), mode.formula);
  }
  PrintResult(text);
  return ExitCode::kDone;
}

}  // namespace

Verb ModesVerb() {
  return {"modes",
          "List the transfer modes",
          "Every mode of 'pf blend' with its number, name, flag and formula. s is the layer, d what it is laid on; c a "
          "colour channel, a alpha, full = 1; a_r = 1 - (1 - a_s)(1 - a_d). On black, white or grey: d is put onto "
          "that colour as b, mixed with the formula by a_s, and taken off again. Overlapping: the formula where both "
          "are, each alone where the other is not.",
          {{"pf modes", "the table"}, {"pf modes --json", "for programs"}},
          kHasJson,
          [](CLI::App&) -> Action { return PrintModes; }};
}

}  // namespace pftool
