/// \file
/// Host preferences (PREF): named values kept in sections.
#ifndef HOST_PREF_H
#define HOST_PREF_H

#include <cstdint>

#include "host/Export.h"

extern "C" {
/// Reads a yes-or-no preference. Any thread.
/// \return 1 or 0; `default_value` when the preference is not set.
HOST_EXPORT std::int32_t PREF_GetBool(const char* section, const char* key, std::int32_t default_value);
/// Reads a whole number; as PREF_GetBool otherwise.
HOST_EXPORT std::int64_t PREF_GetInteger(const char* section, const char* key, std::int64_t default_value);
}

#endif
