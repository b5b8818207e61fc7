/// \file
/// Error codes, the error exception, and the progress record that long operations poll.
///
/// Rules common to all headers of this folder
/// - Plain functions (prefix PF_ or PFp_) never throw. Those that can fail return a code; 0 is success.
/// - Members of classes, the templates, and the functions of PF_ColorSettings.h that hand back an object throw
///   PF_Error, which holds a code, and nothing else but std::bad_alloc.
/// - Codes that come from a callback, a progress function or a host service pass through unchanged.
#ifndef PF_ERRORS_H
#define PF_ERRORS_H

#include <cstddef>
#include <cstdint>
#include <exception>

#include "PF/PF_Export.h"

/// Error code, 0 = success.
using PF_Err = std::int32_t;

/// The library's own codes.
enum : PF_Err {
  PF_Err_NONE = 0,
  PF_Err_REPORTED = 3,               ///< a failure that has been reported to the host already
  PF_Err_OUT_OF_MEMORY = 4,          ///< out of memory
  PF_Err_NOT_IMPLEMENTED = 5,        ///< a mode or form that does not exist
  PF_Err_VERSION_MISMATCH = 7,       ///< PF_CheckVersions
  PF_Err_BAD_BLEND_PARAMETER = 514,  ///< a frame-blending parameter out of range
  PF_Err_INVALID_CALLBACK = 515,     ///< unknown callback selector, or an obsolete routine
  PF_Err_BAD_PARAMETER = 516,        ///< bad parameter passed by a caller
  PF_Err_CANCELLED = 517             ///< cancelled by a progress function
};

/// What the members of world objects throw. The failure has been reported where the code says so.
class PF_EXPORT PF_Error : public std::exception {
 public:
  explicit PF_Error(PF_Err code) noexcept : code_(code) {}
  PF_Error(const PF_Error&) noexcept = default;
  PF_Error& operator=(const PF_Error&) noexcept = default;
  ~PF_Error() override;
  /// The code, never 0.
  PF_Err code() const noexcept { return code_; }
  const char* what() const noexcept override;

 private:
  PF_Err code_;
};

extern "C" {

/// Asks whether to stop. \return 0 to go on; any other value stops the operation and is its result.
using PF_AbortFunc = PF_Err (*)(std::uint64_t reference);
/// Reports progress. \param current steps done \param total steps in all. \return as PF_AbortFunc.
using PF_ProgressFunc = PF_Err (*)(std::uint64_t reference, std::int32_t current, std::int32_t total);

/// Passed to long operations by pointer; null means no progress and no abort. Either function may be
/// null. The operation calls them on the thread that called it and keeps no reference to the record.
struct PF_ProgressInfo {
  std::uint64_t reference;  ///< handed back to both functions
  PF_AbortFunc abort;
  PF_ProgressFunc progress;
};
}
static_assert(sizeof(PF_ProgressInfo) == 24 && offsetof(PF_ProgressInfo, abort) == 8 &&
                  offsetof(PF_ProgressInfo, progress) == 16,
              "crosses the plug-in boundary");

#endif
