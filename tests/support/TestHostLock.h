// Shared by the sources of the test host only.
#pragma once

#include <mutex>

#include "support/TestHost.h"

namespace pftest {

std::recursive_mutex& HostLock();
// Counts a call and yields the answer that the test has set for it; 0 otherwise.
std::int32_t Answer(const char* name, bool logged);
// Ends the test program when a call breaks the contract in a way that no answer could show.
void Insist(bool holds, const char* what);
// Files a report unless a quiet scope is open.
void AddReport(Report report);

}  // namespace pftest
