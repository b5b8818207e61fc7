// Files of "key=value" lines in UTF-8. Blank lines and lines that begin with # are left out; spaces
// count; the last of several equal keys holds.
#pragma once

#include <filesystem>
#include <string>
#include <unordered_map>

#include "host/U.h"

namespace pfhost {

using KeyValues = std::unordered_map<std::string, std::string>;

// The path that a UTF-8 text names.
std::filesystem::path PathFromUtf8(const char* text);

// Adds the file's entries to `out`. Returns 0, 3 (reported) when the file cannot be read or a line has no
// "=", or 4 when memory is short.
U_Err ReadKeyValueFile(const char* path, KeyValues* out) noexcept;

}  // namespace pfhost
