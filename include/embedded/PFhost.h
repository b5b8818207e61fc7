/// \file
/// The embedded host: an implementation of the whole host contract that runs anywhere, and the calls
/// that start it together with the library.
///
/// Life: PFhost_Start, any work, PFhost_Stop. Start and stop are called by one thread while no other
/// call runs; start after stop is allowed. Everything else may be called from any thread.
#ifndef EMBEDDED_PFHOST_H
#define EMBEDDED_PFHOST_H

#include <cstdint>

#include "host/COR.h"
#include "host/Export.h"
#include "host/U.h"

extern "C" {

/// How to start. Set it to zeros for the defaults.
struct PFhost_Options {
  /// Threads of the executor; 0 = one per logical processor. With more than one the host installs its
  /// multi-threaded iteration and copy routines; results are the same bits for any number.
  std::int32_t threads;
  /// U_CPU_* bits that the library must not use; ~0u gives the portable code.
  std::uint32_t disabled_cpu_features;
  /// Folder to scan for acceleration modules (".VXX"), or null for none.
  const char* plug_in_folder;
  /// File of "key=text" lines that translate keyed texts, or null. A key is what stands before the "="
  /// of a keyed text.
  const char* text_catalogue;
  /// File of "section/key=value" lines with preferences, or null.
  const char* preferences;
  /// 0 = log nothing, 1 = log to stderr, 2 = also the debug trace. The trace's categories are off unless a
  /// preference "Debug Trace/CATEGORY=LEVEL" lets lines up to that level through.
  std::int32_t log_level;
};

/// Starts the host, then the library (version check and start-up), then installs the host's routines.
/// \param options null for the defaults; the texts are copied.
/// \return 0, or the library's or the host's code; after a failure everything has been stopped again.
HOST_EXPORT U_Err PFhost_Start(const PFhost_Options* options);
/// Stops the library and the host. \return the library's code.
HOST_EXPORT U_Err PFhost_Stop();

/// One report of the calling thread.
struct PFhost_Report {
  std::uint32_t identifier;  ///< module number and site; 0 for out of memory
  std::int32_t line;         ///< source line of a failed verification, else 0
  std::int32_t kind;         ///< PFHOST_REPORT_*
  const char* text;          ///< valid until the thread's reports are cleared or 256 newer ones follow
};
/// Number of reports that the calling thread has made since the last clear, quiet ones left out. The
/// log keeps the newest 256.
HOST_EXPORT std::int32_t PFhost_ReportCount();
/// Report `index` (0 = oldest kept). \return 0, or 3 with `out` untouched when there is no such report.
HOST_EXPORT U_Err PFhost_GetReport(std::int32_t index, PFhost_Report* out);
/// Forgets the calling thread's reports.
HOST_EXPORT void PFhost_ClearReports();
/// The thread's last error as set through Up_SetThreadLastError or by a report.
HOST_EXPORT U_Err PFhost_ThreadLastError();

/// Tells which profile a display has. A display that nobody has told of is like the system's main one, and that is
/// like the default working profile until something else is told. Forgotten when the host stops.
/// \param display the caller's own reference to it; null: the system's main display.
/// \param profile null, or an empty pointer, forgets what was told. \return 0, 4, or XCE_ERR_ABSENT when the host has
///   been built without a colour engine.
HOST_EXPORT U_Err PFhost_SetDisplayProfile(const void* display, const COR_XCE_ProfileRef* profile);

/// How many bytes the media cache may keep; 512 MiB unless told otherwise. Items that were used least recently leave
/// until it holds. The cache is emptied when the host stops; the budget stays.
HOST_EXPORT void PFhost_SetMediaCacheBudget(std::uint64_t bytes);
/// Bytes that the media cache keeps now.
HOST_EXPORT std::uint64_t PFhost_MediaCacheBytes();

/// Allocations that are still held: pointers, handles, frames, bitmap worlds and small blocks.
HOST_EXPORT std::int64_t PFhost_LiveAllocations();
}

enum : std::int32_t {
  PFHOST_REPORT_VERIFICATION = 1,
  PFHOST_REPORT_TEXT = 2,
  PFHOST_REPORT_ERROR = 3,
  PFHOST_REPORT_OUT_OF_MEMORY = 4
};

#endif
