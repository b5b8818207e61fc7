#include "engine.h"

#include <fmt/format.h>

#include "embedded/PFhost.h"
#include "failure.h"
#include "signals.h"

namespace pftool {
namespace {

std::string NewestReport() {
  PFhost_Report report = {};
  const std::int32_t count = PFhost_ReportCount();
  for (std::int32_t i = 0; i < count && PFhost_GetReport(i, &report) == 0; ++i) {
  }
  return report.text ? report.text : "";
}

}  // namespace

Engine::Engine(int threads) {
  PFhost_Options options = {};
  options.threads = threads;
  Check(PFhost_Start(&options), "cannot start", "the image library");
}

Engine::~Engine() { PFhost_Stop(); }

void Check(PF_Err code, const std::string& doing, const std::string& where) {
  if (code == PF_Err_NONE) return;
  if (code == PF_Err_CANCELLED) StopIfSignalled();
  if (code == PF_Err_OUT_OF_MEMORY) {
    throw Failure(ExitCode::kOutOfMemory, doing, where, "there is not enough memory",
                  "ask for a smaller size or depth, or close other programs");
  }
  const std::string report = NewestReport();
  const std::string why = report.empty() ? fmt::format("the library answered with code {}", code) : report;
  throw Failure(ExitCode::kInternal, doing, where, why, "please report this with the command line");
}

void Guarded(const std::string& doing, const std::string& where, const std::function<void()>& work) {
  try {
    work();
  } catch (const PF_Error& error) {
    Check(error.code(), doing, where);
  }
}

}  // namespace pftool
