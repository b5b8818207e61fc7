/// \file
/// What a run tells while it works: progress and notes on stderr, results on stdout.
#ifndef TOOLS_PF_REPORTER_H
#define TOOLS_PF_REPORTER_H

#include <chrono>
#include <cstdint>
#include <set>
#include <string>

#include "PF/PF_Errors.h"

namespace pftool {

/// Form of the progress on stderr.
enum class ProgressStyle { kAuto, kBar, kPlain, kJson, kNone };

/// Progress over pictures and their stages, and notes that are said once. One thread.
///
/// bar: one line that is redrawn, from half a second on. plain: one line per picture and stage. json: one
/// object per line, {"event":"progress","picture":N,"pictures":N,"name":...,"stage":...,"fraction":0..1}
/// and {"event":"note","text":...}. auto: a bar on a terminal, else none.
class Reporter {
 public:
  explicit Reporter(ProgressStyle style);
  ~Reporter();
  Reporter(const Reporter&) = delete;
  Reporter& operator=(const Reporter&) = delete;

  /// Number of pictures to come.
  void Begin(std::size_t pictures);
  /// The next picture starts.
  void Picture(const std::string& name);
  /// A stage of the picture starts; it takes the picture's progress from `from` to `to` (0..1).
  void Stage(const std::string& name, double from, double to);
  /// `done` of `total` rows of the stage are finished. \throws Interrupted after a signal.
  void Rows(std::int64_t done, std::int64_t total);
  /// Says something that the user should know, on stderr, once per text.
  void Note(const std::string& text);

  /// Progress record for a library call that writes `total_rows` rows in this stage; valid as long as the
  /// reporter. The call ends with 517 after a signal.
  const PF_ProgressInfo* Info(std::int64_t total_rows);

 private:
  static PF_Err OnAbort(std::uint64_t reference);
  static PF_Err OnProgress(std::uint64_t reference, std::int32_t current, std::int32_t total);
  void Show(double stage_fraction);
  void ShowBar(double fraction);
  void ClearBar();
  void ShowJson(double fraction);

  ProgressStyle style_;
  PF_ProgressInfo info_;
  std::set<std::string> said_;
  std::size_t pictures_ = 0, picture_ = 0;
  std::string name_, stage_;
  double from_ = 0, to_ = 0;
  std::int64_t call_rows_ = 0, call_total_ = 1;
  bool call_tells_rows_ = false;
  bool bar_drawn_ = false;
  std::chrono::steady_clock::time_point start_, last_;
};

}  // namespace pftool

#endif
