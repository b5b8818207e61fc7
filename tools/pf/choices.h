/// \file
/// Options with a fixed set of values.
#ifndef TOOLS_PF_CHOICES_H
#define TOOLS_PF_CHOICES_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace pftool {

/// Accepts the given words only. The help shows them through the option's type name, once.
inline CLI::Validator OneOf(const std::vector<std::string>& words) {
  CLI::Validator validator = CLI::IsMember(words);
  return validator.description("");
}

}  // namespace pftool

#endif
