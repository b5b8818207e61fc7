// How a failure is told to the host and leaves the library. Nothing else reports or throws.
#pragma once

#include <cstdint>

#include "PF/PF_Errors.h"
#include "report/Sites.h"
#include "report/Texts.h"

namespace pf {

// Reports an internal consistency failure at the caller's line. Returns 3.
PF_Err FailVerification(const char* text, Site site = Site::kImageModel, std::int32_t line = __builtin_LINE());

// The same, thrown.
[[noreturn]] void ThrowVerification(const char* text, Site site = Site::kImageModel,
                                    std::int32_t line = __builtin_LINE());

// Reports a caller's error by its localised text. False when the host has no text for it: then nothing
// has been reported.
bool ReportCaller(Site site, Message message);

// Reports a caller's error that is code 3: by its text, or as a failed verification when the host has
// none. Returns 3.
PF_Err FailCaller(Site site, Message message);

// Reports a plain text; returns the host's answer, 3 when the host answers 0.
PF_Err ReportText(Site site, const char* text);

// Reports a plain text and throws the host's answer.
[[noreturn]] void ThrowText(Site site, const char* text);

// Throws a callback's or a service's code, which is not ours to report.
[[noreturn]] void ThrowCode(PF_Err code);

// A status of the colour engine other than 0: told to the user by the engine's own report, whose answer is thrown.
// Without an engine nothing is reported and its code is thrown.
[[noreturn]] void ThrowEngineFailure(std::int32_t status);

// Memory is short and the host has been told by whoever asked for it.
[[noreturn]] void ThrowOutOfMemory();

}  // namespace pf
