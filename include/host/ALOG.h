/// \file
/// Host logging (ALOG).
#ifndef HOST_ALOG_H
#define HOST_ALOG_H

#include "host/Export.h"

extern "C" {
/// Writes one line to the host's log. Any thread; never fails as far as the caller can see.
/// \param source short name of the library that logs. \param heading topic. \param text the line.
HOST_EXPORT void ALOG_Log(const char* source, const char* heading, const char* text);
}

#endif
