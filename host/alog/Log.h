// The host's log on stderr.
#pragma once

#include <cstdint>

namespace pfhost {

// \param level 0 = nothing, 1 = log and reports, 2 = also the debug trace. Called while nothing logs.
void StartLog(std::int32_t level) noexcept;
void StopLog() noexcept;

// A report that the user would see.
void LogReport(std::uint32_t identifier, const char* text) noexcept;
// A line of the debug trace, and whether there is one.
void LogTrace(const char* text) noexcept;
bool LogsTrace() noexcept;

}  // namespace pfhost
