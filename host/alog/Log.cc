#include "alog/Log.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <exception>
#include <memory>

#include "host/ALOG.h"

namespace pfhost {
namespace {

std::unique_ptr<spdlog::logger>& TheLogger() {
  static std::unique_ptr<spdlog::logger> logger;
  return logger;
}

const char* Shown(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

void StartLog(std::int32_t level) noexcept {
  StopLog();
  if (level <= 0) return;
  try {
    auto logger = std::make_unique<spdlog::logger>("PFhost", std::make_shared<spdlog::sinks::stderr_sink_mt>());
    logger->set_level(level > 1 ? spdlog::level::trace : spdlog::level::info);
    logger->set_pattern("%H:%M:%S.%e %l %v");
    TheLogger() = std::move(logger);
  } catch (const std::exception&) {
    // A host without a log still works.
  }
}

void StopLog() noexcept { TheLogger().reset(); }

void LogReport(std::uint32_t identifier, const char* text) noexcept {
  if (TheLogger()) TheLogger()->error("report {:#010x}: {}", identifier, Shown(text));
}

bool LogsTrace() noexcept { return TheLogger() && TheLogger()->should_log(spdlog::level::trace); }

void LogTrace(const char* text) noexcept {
  if (TheLogger()) TheLogger()->trace("{}", Shown(text));
}

}  // namespace pfhost

void ALOG_Log(const char* source, const char* heading, const char* text) {
  spdlog::logger* logger = pfhost::TheLogger().get();
  if (logger != nullptr) {
    logger->info("[{}] {}: {}", pfhost::Shown(source), pfhost::Shown(heading), pfhost::Shown(text));
  }
}
