#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <exception>
#include <new>
#include <nlohmann/json.hpp>

#include "command_line.h"
#include "signals.h"

namespace {

using pftool::ExitCode;
using pftool::Failure;

int Report(const Failure& failure, bool json) {
  fmt::print(stderr, "pf: {}\n", failure.what());
  if (json) {
    const nlohmann::json value = {{"error",
                                   {{"exit_code", static_cast<int>(failure.code())},
                                    {"what", failure.doing()},
                                    {"where", failure.where()},
                                    {"why", failure.why()},
                                    {"next", failure.next()}}}};
    fmt::print("{}\n", value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
  }
  return static_cast<int>(failure.code());
}

int RunGuarded(pftool::CommandLine& line, int argc, char** argv) {
  const auto json = [&line] { return line.common().json; };
  try {
    return static_cast<int>(line.Run(argc, argv));
  } catch (const Failure& failure) {
    return Report(failure, json());
  } catch (const pftool::Interrupted& interrupted) {
    fmt::print(stderr, "pf: stopped by signal {}; files that were finished before are complete, no other is left\n",
               interrupted.signal);
    return 128 + interrupted.signal;
  } catch (const std::bad_alloc&) {
    return Report({ExitCode::kOutOfMemory, "cannot go on", "", "there is not enough memory",
                   "ask for a smaller size or depth, or close other programs"},
                  json());
  } catch (const std::exception& error) {
    return Report({ExitCode::kInternal, "cannot go on", "", error.what(), "please report this with the command line"},
                  json());
  }
}

}  // namespace

int main(int argc, char** argv) {
  pftool::InstallSignalHandlers();
  pftool::CommandLine line;
  return RunGuarded(line, argc, argv);
}
