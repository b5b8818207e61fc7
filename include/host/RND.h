/// \file
/// Host random tables (RND).
#ifndef HOST_RND_H
#define HOST_RND_H

#include <cstdint>

#include "host/Export.h"
#include "host/U.h"

extern "C" {
/// Yields a table of 32-bit random values whose length is a prime number. The contents are the same in
/// every process and on every machine, so that what is drawn from it can be repeated.
/// \param table receives the address; the host owns it and keeps it until the process ends.
/// \param length receives the number of values.
/// \return 0, or a code, with both outputs untouched.
HOST_EXPORT U_Err RND_GetPrimeSizedTable(const std::uint32_t** table, std::int64_t* length);
}

#endif
