#include "u/ThreadState.h"

#if defined(_WIN32)
#include <windows.h>
#endif

#include <exception>
#include <limits>
#include <utility>

#include "alog/Log.h"
#include "embedded/PFhost.h"

namespace pfhost {
namespace {

constexpr U_Err kReported = 3;
constexpr U_Err kOutOfMemory = 4;

void Keep(ThreadState& thread, Report report) {
  LogReport(report.identifier, report.text.c_str());
  thread.reports.push_back(std::move(report));
  if (thread.reports.size() > ThreadState::kKeptReports) thread.reports.pop_front();
  if (thread.report_count < std::numeric_limits<std::int32_t>::max()) ++thread.report_count;
}

}  // namespace

#if defined(_WIN32)
// A thread_local with a destructor would keep the module loaded until its thread ends. What stands in the system's own
// slots goes with the thread or with the module, whichever goes first.
namespace {

struct Slot {
  static void CALLBACK Release(void* state) { delete static_cast<ThreadState*>(state); }
  Slot() : index(FlsAlloc(&Release)) {}
  ~Slot() { FlsFree(index); }
  const DWORD index;
};

}  // namespace

ThreadState& CurrentThread() noexcept {
  static const Slot slot;
  auto* state = static_cast<ThreadState*>(FlsGetValue(slot.index));
  if (state == nullptr) {
    state = new ThreadState;
    FlsSetValue(slot.index, state);
  }
  return *state;
}
#else
ThreadState& CurrentThread() noexcept {
  static thread_local ThreadState state;
  return state;
}
#endif

U_Err AddReport(std::uint32_t identifier, std::int32_t line, std::int32_t kind, const char* text,
                U_Err error) noexcept {
  ThreadState& thread = CurrentThread();
  thread.last_error = error;
  if (thread.open_quiet_scopes > 0) return error;
  try {
    Keep(thread, {identifier, line, kind, text != nullptr ? text : ""});
  } catch (const std::exception&) {
    // No memory to keep it; the code still reaches the caller.
  }
  return error;
}

void ReportOutOfMemory(const char* what) noexcept {
  if (what != nullptr) AddReport(0, 0, PFHOST_REPORT_OUT_OF_MEMORY, what, kOutOfMemory);
}

U_Err ReportVerification(const char* text, std::int32_t line) noexcept {
  return AddReport(kHostModule << 16, line, PFHOST_REPORT_VERIFICATION, text, kReported);
}

U_Err ReportText(const std::string& text) noexcept {
  return AddReport(kHostModule << 16, 0, PFHOST_REPORT_TEXT, text.c_str(), kReported);
}

}  // namespace pfhost

U_Err U_ReportFailedVerification(std::uint32_t identifier, std::int32_t line, std::int32_t, const char* text) {
  return pfhost::AddReport(identifier, line, PFHOST_REPORT_VERIFICATION, text, pfhost::kReported);
}

U_Err Up_ReportErrString(std::uint32_t identifier, std::int32_t, const char* text) {
  return pfhost::AddReport(identifier, 0, PFHOST_REPORT_TEXT, text, pfhost::kReported);
}

U_Err Up_ReportError(std::uint32_t module, std::int32_t) {
  return pfhost::AddReport(module << 16, 0, PFHOST_REPORT_ERROR, Up_GetThreadLoggingBuffer(), pfhost::kReported);
}

void Up_SetThreadLastError(U_Err error) { pfhost::CurrentThread().last_error = error; }

char* Up_GetThreadLoggingBuffer() { return pfhost::CurrentThread().logging_buffer; }

void U_StartQuietErrorsOnCurrentThread() { ++pfhost::CurrentThread().open_quiet_scopes; }

U_Err U_EndQuietErrorsOnCurrentThread() {
  pfhost::ThreadState& thread = pfhost::CurrentThread();
  if (thread.open_quiet_scopes == 0) return pfhost::ReportVerification("no quiet scope is open on this thread");
  --thread.open_quiet_scopes;
  return 0;
}

std::int32_t PFhost_ReportCount() { return pfhost::CurrentThread().report_count; }

U_Err PFhost_GetReport(std::int32_t index, PFhost_Report* out) {
  const std::deque<pfhost::Report>& reports = pfhost::CurrentThread().reports;
  if (out == nullptr || index < 0 || static_cast<std::size_t>(index) >= reports.size()) return pfhost::kReported;
  const pfhost::Report& report = reports[static_cast<std::size_t>(index)];
  *out = {report.identifier, report.line, report.kind, report.text.c_str()};
  return 0;
}

void PFhost_ClearReports() {
  pfhost::ThreadState& thread = pfhost::CurrentThread();
  thread.reports.clear();
  thread.report_count = 0;
}

U_Err PFhost_ThreadLastError() { return pfhost::CurrentThread().last_error; }
