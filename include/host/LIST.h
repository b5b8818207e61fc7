/// \file
/// Host lists (LIST), version 9: small growing lists of addresses.
///
/// Nothing here throws. A list is not locked against concurrent change; LIST_Lock only forbids change.
#ifndef HOST_LIST_H
#define HOST_LIST_H

#include <cstdint>

#include "host/Export.h"
#include "host/U.h"

struct LIST_Body;              ///< private to the host
using LIST_List = LIST_Body*;  ///< a list of addresses that it does not own

extern "C" {
/// See U_CheckVersions.
HOST_EXPORT U_Err LIST_CheckVersions(std::uint32_t caller, std::int32_t expected_version);
/// Makes an empty list. \return null when memory is short.
HOST_EXPORT LIST_List LIST_New();
/// Releases a list. Null is allowed.
HOST_EXPORT void LIST_Dispose(LIST_List list);
/// Adds an item at the end. \return 0, 3 when the list is locked, 4 when memory is short.
HOST_EXPORT U_Err LIST_Append(LIST_List list, void* item);
/// Number of items.
HOST_EXPORT std::int32_t LIST_Count(LIST_List list);
/// Item `index` (from 0), or null outside the list.
HOST_EXPORT void* LIST_Get(LIST_List list, std::int32_t index);
/// Forbids changes until the matching LIST_Unlock. Locks nest.
HOST_EXPORT U_Err LIST_Lock(LIST_List list);
/// Undoes one LIST_Lock. \return 3 when the list was not locked.
HOST_EXPORT U_Err LIST_Unlock(LIST_List list);
}

#endif
