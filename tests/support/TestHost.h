// The misbehaving host: a whole implementation of the host contract that counts every call and fails,
// moves or withholds what a test asks it to. The library's tests run on it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/MC.h"
#include "host/PLUG.h"
#include "host/U.h"

namespace pftest {

struct Report {
  enum Kind { kVerification, kText, kError, kOutOfMemory, kWorldAllocation } kind;
  std::uint32_t identifier = 0;
  std::int32_t line_or_kind = 0;
  std::string text;
};

// One acceleration module of a scan.
struct FakeModule {
  std::vector<std::int32_t> selectors;  // received, in order
  std::int32_t answer_to_startup = 0;
  std::int32_t answer_to_shutdown = 0;
  bool prepared = false;
  bool registered = false;
  PLUG_RoutineRef routine = nullptr;  // of the last scan
};

// One run of pixels that the colour engine was given.
struct EngineRun {
  std::uint32_t source_layout, destination_layout;
  std::uint64_t count;
  bool operator==(const EngineRun&) const = default;
};
// What the newest transform was made from, by the profiles' names; empty = the default working profile.
struct EngineTransform {
  std::string source, destination, proofs[2];
  std::int32_t intent = -1, clip_float = -1;
};

struct TestHost {
  // What goes wrong. Allocations are counted from Reset() or from setting the field, over pointers,
  // handles, frames, bitmap worlds and small blocks; the one with this number (0 = the next) fails.
  std::int64_t fail_allocation = -1;
  bool fail_all_later_allocations = false;
  bool addresses_8_modulo_16 = false;
  bool move_handles = false;  // every call of the handle family moves all unlocked blocks
  bool no_texts = false;
  bool bitmap_without_pixels = false;  // only BMp_GetPixBaseAddr knows the address
  std::int32_t bitmap_channel_order = 0;
  std::int64_t random_length = 101;  // length of the random table, at most 101
  std::uint32_t cpu_features = ~0u;  // limited to what the machine has
  // Answers of named calls, for example {"M_PrepareFCMD", 4}; 0 where none is set.
  std::map<std::string, std::int32_t> answers;
  // The colour engine: its calls are counted from Reset(); the one with this number answers engine_error.
  std::int64_t fail_engine_call = -1;
  std::int32_t engine_error = 0x62707266;
  bool no_engine = false;
  bool no_basic_suite = false;
  bool cache_keeps_nothing = false;
  std::map<std::string, std::int32_t> bool_preferences;  // by "section/key"
  std::map<std::string, std::int32_t> trace_levels;      // of the debug trace, by category
  std::vector<FakeModule*> modules;                      // found by a scan

  // What happened.
  PLUG_UnloadHandler unload_handler = nullptr;  // of the last scan
  std::vector<Report> reports;
  std::vector<std::string> calls;     // start-up, shut-down and logging calls by name, in order
  std::vector<std::string> trace;     // lines of the debug trace
  std::map<std::string, int> counts;  // every counted call by name
  std::int64_t allocations = 0;       // since Reset()
  std::int64_t live_allocations = 0;  // ever; stays across Reset()
  std::int64_t engine_calls = 0;
  std::vector<EngineRun> engine_runs;
  std::vector<std::int32_t> engine_errors;  // told through XCE_Error
  EngineTransform last_transform;
  std::map<vexcore::Guid, MC_StuffRef> filed;  // the media cache
  std::int64_t quiet_depth = 0;
  std::int32_t last_error = 0;

  // Back to good behaviour, with empty records. Live allocations go on counting.
  void Reset();
  // The texts of all reports, joined by newlines.
  std::string ReportTexts() const;
};

// The process's one test host. Fields are set and read while no other thread is in the library.
TestHost& Host();

// The table that RND_GetPrimeSizedTable hands out.
const std::uint32_t* RandomTable();

}  // namespace pftest
