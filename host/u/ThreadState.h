// What belongs to one thread: its reports, last error, logging buffer and open quiet scopes.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "host/U.h"

namespace pfhost {

// The host's own module number in report identifiers.
inline constexpr std::uint32_t kHostModule = 0x01;

struct Report {
  std::uint32_t identifier;
  std::int32_t line;
  std::int32_t kind;  // PFHOST_REPORT_*
  std::string text;
};

struct ThreadState {
  static constexpr std::size_t kKeptReports = 256;

  U_Err last_error = 0;
  std::int32_t open_quiet_scopes = 0;
  std::int32_t report_count = 0;  // since the last clear, those no longer kept included
  std::deque<Report> reports;     // the newest kKeptReports, oldest first
  char logging_buffer[U_LOGGING_BUFFER_SIZE] = {};
};

// The calling thread's.
ThreadState& CurrentThread() noexcept;

// Sets the thread's last error to `error` and, outside quiet scopes, keeps and logs the report. Never
// throws: a report for which there is no memory is lost. Returns `error`.
U_Err AddReport(std::uint32_t identifier, std::int32_t line, std::int32_t kind, const char* text, U_Err error) noexcept;

// Under the name of what could not be allocated; null reports nothing.
void ReportOutOfMemory(const char* what) noexcept;

// A misuse of the host, found by the host, with the caller's source line. Returns 3.
U_Err ReportVerification(const char* text, std::int32_t line = __builtin_LINE()) noexcept;
// Something wrong outside the program, a file for example. Returns 3.
U_Err ReportText(const std::string& text) noexcept;

}  // namespace pfhost
