#include "support/TestHost.h"

#include <hwy/targets.h>

#include <boost/function.hpp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "host/ALOG.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/PREF.h"
#include "host/RND.h"
#include "host/STR.h"
#include "host/VXFX.h"
#include "host/vexcore.h"
#include "support/TestHostLock.h"

namespace pftest {

TestHost& Host() {
  static TestHost host;
  return host;
}

std::recursive_mutex& HostLock() {
  static std::recursive_mutex mutex;
  return mutex;
}

void TestHost::Reset() {
  filed.clear();  // gives memory back, which the host counts
  const std::lock_guard lock(HostLock());
  const auto live = live_allocations;
  *this = TestHost();
  live_allocations = live;
}

std::string TestHost::ReportTexts() const {
  std::string all;
  for (const Report& report : reports) all += report.text + "\n";
  return all;
}

std::int32_t Answer(const char* name, bool logged) {
  const std::lock_guard lock(HostLock());
  TestHost& host = Host();
  ++host.counts[name];
  if (logged) host.calls.emplace_back(name);
  const auto found = host.answers.find(name);
  return found == host.answers.end() ? 0 : found->second;
}

void Insist(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "test host: %s\n", what);
  std::abort();
}

void AddReport(Report report) {
  const std::lock_guard lock(HostLock());
  if (Host().quiet_depth > 0) return;
  Host().reports.push_back(std::move(report));
}

const std::uint32_t* RandomTable() {
  static const auto table = [] {
    std::vector<std::uint32_t> values(101);
    std::uint32_t state = 12345;
    for (std::uint32_t& value : values) {
      state = state * 1664525u + 1013904223u;
      value = state ^ (state >> 13);
    }
    return values;
  }();
  return table.data();
}

}  // namespace pftest

using pftest::AddReport;
using pftest::Answer;
using pftest::Host;
using pftest::HostLock;
using pftest::Insist;
using pftest::Report;

extern "C" {

U_Err U_CheckVersions(std::uint32_t caller, std::int32_t version) {
  Insist(caller == 0x250063u && version == 61, "a version check of other versions");
  return Answer("U_CheckVersions", true);
}
U_Err STR_CheckVersions(std::uint32_t caller, std::int32_t version) {
  Insist(caller == 0x250063u && version == 3, "a version check of other versions");
  return Answer("STR_CheckVersions", true);
}
U_Err BM_CheckVersions(std::uint32_t caller, std::int32_t version) {
  Insist(caller == 0x250063u && version == 31, "a version check of other versions");
  return Answer("BM_CheckVersions", true);
}
U_Err M_CheckVersions(std::uint32_t caller, std::int32_t version) {
  Insist(caller == 0x250063u && version == 18, "a version check of other versions");
  return Answer("M_CheckVersions", true);
}
U_Err FILE_CheckVersions(std::uint32_t caller, std::int32_t version) {
  Insist(caller == 0x250063u && version == 39, "a version check of other versions");
  return Answer("FILE_CheckVersions", true);
}
U_Err LIST_CheckVersions(std::uint32_t caller, std::int32_t version) {
  Insist(caller == 0x250063u && version == 9, "a version check of other versions");
  return Answer("LIST_CheckVersions", true);
}
U_Err VXFX_CheckVersions(std::uint32_t caller, std::int32_t version) {
  Insist(caller == 0x250063u && version == 8, "a version check of other versions");
  return Answer("VXFX_CheckVersions", true);
}
U_Err PLUG_CheckVersions(std::uint32_t caller, std::int32_t version) {
  Insist(caller == 0x250063u && version == 11, "a version check of other versions");
  return Answer("PLUG_CheckVersions", true);
}

U_Err U_ReportFailedVerification(std::uint32_t identifier, std::int32_t line, std::int32_t reserved, const char* text) {
  Insist(identifier >> 16 == 0x25 && line > 0 && reserved == 0, "a verification report without its particulars");
  Answer("U_ReportFailedVerification", false);
  AddReport({Report::kVerification, identifier, line, text});
  return 3;
}
U_Err Up_ReportErrString(std::uint32_t identifier, std::int32_t kind, const char* text) {
  Insist(identifier >> 16 == 0x25 && (identifier & 0xFFFF) != 0 && kind == 8, "a text report without its particulars");
  AddReport({Report::kText, identifier, kind, text});
  const std::int32_t answer = Answer("Up_ReportErrString", false);
  return answer != 0 ? answer : 3;
}
U_Err Up_ReportError(std::uint32_t module, std::int32_t kind) {
  Answer("Up_ReportError", false);
  AddReport({Report::kError, module, kind, Up_GetThreadLoggingBuffer()});
  return 3;
}
void Up_SetThreadLastError(U_Err error) { Host().last_error = error; }
char* Up_GetThreadLoggingBuffer() {
  thread_local char buffer[U_LOGGING_BUFFER_SIZE];
  return buffer;
}
void U_StartQuietErrorsOnCurrentThread() { ++Host().quiet_depth; }
U_Err U_EndQuietErrorsOnCurrentThread() {
  --Host().quiet_depth;
  return Answer("U_EndQuietErrorsOnCurrentThread", false);
}

const char* U_ZLookup(const char* keyed_text) {
  if (Host().no_texts) return nullptr;
  const char* text = std::strchr(keyed_text, '=');
  return text == nullptr ? nullptr : text + 1;
}
const char* U_ZLookupLStrCache(U_ZRef table, std::int32_t number, std::int32_t, std::int32_t) {
  if (number < 0 || number >= table->count) return nullptr;
  return U_ZLookup(table->keyed_texts[number]);
}
void U_SubString(const char* text, const char* first, const char* second, char* out, std::uint64_t out_size) {
  std::string result;
  for (const char* c = text; *c != 0; ++c) {
    const char* value = std::strncmp(c, "^L1", 3) == 0 ? first : std::strncmp(c, "^L2", 3) == 0 ? second : nullptr;
    if (value != nullptr) {
      result += value;
      c += 2;
    } else {
      result += *c;
    }
  }
  if (out_size == 0) return;
  result.resize(std::min<std::size_t>(result.size(), out_size - 1));
  std::memcpy(out, result.c_str(), result.size() + 1);
}

std::int32_t U_GetNumThreads() { return 2; }
std::uint32_t U_LongSwap(std::uint32_t v) { return v << 24 | (v & 0xFF00) << 8 | (v >> 8 & 0xFF00) | v >> 24; }

static U_CPU_Data g_cpu = {2, ~0u};
const U_CPU_Data* U_G_CPU_DataP = &g_cpu;

U_Err M_PrepareFCMD(std::int32_t count, void** state) {
  Insist(count == 1, "geometry prepared with another count");
  *state = &g_cpu;
  g_cpu.features = Host().cpu_features;
  return Answer("M_PrepareFCMD", true);
}
U_Err M_UnprepareFCMD(void*) { return Answer("M_UnprepareFCMD", true); }
std::int32_t M_IntersectLRect(const M_LRect* a, const M_LRect* b, M_LRect* out) {
  const M_LRect both = {std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
                        std::min(a->bottom, b->bottom)};
  const bool any = both.left < both.right && both.top < both.bottom;
  *out = any ? both : M_LRect{};
  return any ? 1 : 0;
}
void M_UnionLRect(const M_LRect* a, const M_LRect* b, M_LRect* out) {
  const auto empty = [](const M_LRect& r) { return r.left >= r.right || r.top >= r.bottom; };
  if (empty(*a) || empty(*b)) {
    *out = empty(*a) ? *b : *a;
    return;
  }
  *out = {std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
          std::max(a->bottom, b->bottom)};
}

U_Err RND_GetPrimeSizedTable(const std::uint32_t** table, std::int64_t* length) {
  const std::int32_t answer = Answer("RND_GetPrimeSizedTable", true);
  if (answer != 0) return answer;
  *table = pftest::RandomTable();
  *length = Host().random_length;
  return 0;
}

void ALOG_Log(const char* source, const char* heading, const char* text) {
  const std::lock_guard lock(HostLock());
  Host().calls.push_back(std::string("ALOG_Log ") + source + "/" + heading + "/" + text);
}
std::int32_t PREF_GetBool(const char* section, const char* key, std::int32_t default_value) {
  const auto& set = Host().bool_preferences;
  const auto found = set.find(std::string(section) + "/" + key);
  return found == set.end() ? default_value : found->second;
}
std::int64_t PREF_GetInteger(const char*, const char*, std::int64_t default_value) { return default_value; }

// Lists.
struct LIST_Body {
  std::vector<void*> items;
  int locks = 0;
};
LIST_List LIST_New() { return Answer("LIST_New", false) != 0 ? nullptr : new LIST_Body; }
void LIST_Dispose(LIST_List list) { delete list; }
U_Err LIST_Append(LIST_List list, void* item) {
  if (list->locks > 0) return 3;
  const std::int32_t answer = Answer("LIST_Append", false);
  if (answer == 0) list->items.push_back(item);
  return answer;
}
std::int32_t LIST_Count(LIST_List list) { return static_cast<std::int32_t>(list->items.size()); }
void* LIST_Get(LIST_List list, std::int32_t index) {
  return index < 0 || index >= LIST_Count(list) ? nullptr : list->items[static_cast<std::size_t>(index)];
}
U_Err LIST_Lock(LIST_List list) {
  ++list->locks;
  return Answer("LIST_Lock", false);
}
U_Err LIST_Unlock(LIST_List list) {
  if (list->locks == 0) return 3;
  --list->locks;
  return Answer("LIST_Unlock", true);
}

// Plug-ins.
struct PLUG_Routine {
  pftest::FakeModule* module;
};
static std::vector<PLUG_Routine*>& Routines() {
  static std::vector<PLUG_Routine*> routines;
  return routines;
}
}  // extern "C"

static pftest::FakeModule* g_called_module = nullptr;
static std::int32_t FakeEntry(std::int32_t selector, void*) {
  g_called_module->selectors.push_back(selector);
  return selector == PLUG_SELECTOR_SHUTDOWN ? g_called_module->answer_to_shutdown : g_called_module->answer_to_startup;
}
// Entry points carry no state, so each fake module has one of four functions of its own.
template <int N>
static std::int32_t EntryOf(std::int32_t selector, void*) {
  g_called_module = Host().modules[N];
  return FakeEntry(selector, nullptr);
}

extern "C" {
U_Err PLUG_InstallScan(std::int32_t reserved, std::int32_t kind, const PLUG_ScanDescriptor* descriptor,
                       PLUG_LoadHandler load, PLUG_UnloadHandler unload, void* reference) {
  Insist(reserved == 0 && unload != nullptr && reference == nullptr, "a scan with other arguments");
  Host().unload_handler = unload;
  const std::int32_t answer = Answer("PLUG_InstallScan", true);
  if (answer != 0) return answer;
  if (kind != 2 || descriptor->plug_in_type != 0x65465354u || descriptor->file_extension != 0x2E565858u) return 99;
  for (pftest::FakeModule* module : Host().modules) {
    auto* routine = new PLUG_Routine{module};
    module->routine = routine;
    if (load(routine, reference) != 0) {
      module->registered = false;
      delete routine;
    } else {
      Routines().push_back(routine);
    }
  }
  return 0;
}
U_Err PLUG_PrepRoutine(PLUG_RoutineRef routine, PLUG_EntryFunc* entry) {
  constexpr PLUG_EntryFunc kEntries[] = {&EntryOf<0>, &EntryOf<1>, &EntryOf<2>, &EntryOf<3>};
  for (std::size_t i = 0; i < Host().modules.size(); ++i) {
    if (Host().modules[i] == routine->module) *entry = kEntries[i];
  }
  const std::int32_t answer = Answer("PLUG_PrepRoutine", true);
  routine->module->prepared = answer == 0;
  return answer;
}
U_Err PLUG_UnprepRoutine(PLUG_RoutineRef routine) {
  routine->module->prepared = false;
  return Answer("PLUG_UnprepRoutine", true);
}
U_Err PLUG_RegisterRoutine(PLUG_RoutineRef routine) {
  const std::int32_t answer = Answer("PLUG_RegisterRoutine", true);
  routine->module->registered = answer == 0;
  return answer;
}
U_Err PLUG_UnregisterRoutine(PLUG_RoutineRef routine) {
  routine->module->registered = false;
  std::erase(Routines(), routine);
  delete routine;
  return Answer("PLUG_UnregisterRoutine", true);
}
}  // extern "C"

namespace vexcore {

void ExecuteCPUBoundTaskOnAllProcessorsWithProcessorIndex(const boost::function<void(std::int32_t)>& task) {
  std::thread other([&task] { task(1); });
  task(0);
  other.join();
}
std::uint64_t CurrentThreadIdentity() noexcept { return std::hash<std::thread::id>()(std::this_thread::get_id()); }

}  // namespace vexcore
