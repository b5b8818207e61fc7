#include "host/LIST.h"

#include <exception>
#include <new>
#include <vector>

#include "u/Version.h"

struct LIST_Body {
  std::vector<void*> items;
  std::int32_t locks = 0;
};

U_Err LIST_CheckVersions(std::uint32_t, std::int32_t expected_version) {
  return pfhost::CheckVersion(expected_version, pfhost::kVersionLIST);
}

LIST_List LIST_New() { return new (std::nothrow) LIST_Body; }

void LIST_Dispose(LIST_List list) { delete list; }

U_Err LIST_Append(LIST_List list, void* item) {
  if (list == nullptr) return pfhost::ReportVerification("no list to append to");
  if (list->locks > 0) return pfhost::ReportVerification("a locked list cannot grow");
  try {
    list->items.push_back(item);
    return 0;
  } catch (const std::exception&) {
    pfhost::ReportOutOfMemory("list");
    return 4;
  }
}

std::int32_t LIST_Count(LIST_List list) { return list != nullptr ? static_cast<std::int32_t>(list->items.size()) : 0; }

void* LIST_Get(LIST_List list, std::int32_t index) {
  const bool exists = index >= 0 && index < LIST_Count(list);
  return exists ? list->items[static_cast<std::size_t>(index)] : nullptr;
}

U_Err LIST_Lock(LIST_List list) {
  if (list == nullptr) return pfhost::ReportVerification("no list to lock");
  ++list->locks;
  return 0;
}

U_Err LIST_Unlock(LIST_List list) {
  if (list == nullptr || list->locks == 0) return pfhost::ReportVerification("the list was not locked");
  --list->locks;
  return 0;
}
