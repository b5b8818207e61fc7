// The misbehaving host's media cache, which keeps everything or nothing.
#include <mutex>

#include "support/TestHost.h"

using pftest::Host;

namespace {

std::mutex g_mutex;

}  // namespace

MC_Stuff::~MC_Stuff() = default;

U_Err MC_Find(const vexcore::Guid& key, MC_StuffRef* found) {
  const std::lock_guard lock(g_mutex);
  if (const auto answer = Host().answers.find("MC_Find"); answer != Host().answers.end()) return answer->second;
  const auto place = Host().filed.find(key);
  *found = place != Host().filed.end() ? place->second : MC_StuffRef();
  return 0;
}

U_Err MC_File(const vexcore::Guid& key, const MC_StuffRef& item, MC_StuffRef* filed) {
  const std::lock_guard lock(g_mutex);
  if (const auto answer = Host().answers.find("MC_File"); answer != Host().answers.end()) return answer->second;
  *filed = Host().cache_keeps_nothing ? item : Host().filed.try_emplace(key, item).first->second;
  return 0;
}

void MC_Changed(const vexcore::Guid&, const MC_Stuff*) {}

void MC_Remove(const vexcore::Guid& key, const MC_Stuff* item) {
  const std::lock_guard lock(g_mutex);
  const auto place = Host().filed.find(key);
  if (place != Host().filed.end() && place->second.get() == item) Host().filed.erase(place);
}

struct PLUG_BasicSuite {};

const PLUG_BasicSuite* PLUG_GetSPBasicSuite() {
  static constexpr PLUG_BasicSuite kSuite;
  return Host().no_basic_suite ? nullptr : &kSuite;
}
