#include "file/KeyValueFile.h"

#include <exception>
#include <fstream>
#include <string_view>

#include "u/ThreadState.h"

namespace pfhost {
namespace {

bool IsComment(std::string_view line) { return line.empty() || line.front() == '#'; }

std::string_view WithoutLineEnd(std::string_view line) {
  return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

std::string_view WithoutByteOrderMark(std::string_view line) {
  return line.starts_with("\xEF\xBB\xBF") ? line.substr(3) : line;
}

U_Err ReadLines(const char* path, std::ifstream& file, KeyValues* out) {
  std::string text;
  for (int number = 1; std::getline(file, text); ++number) {
    std::string_view line = WithoutLineEnd(text);
    if (number == 1) line = WithoutByteOrderMark(line);
    if (IsComment(line)) continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
      return ReportText(std::string(path) + ", line " + std::to_string(number) + ": expected key=value");
    }
    out->insert_or_assign(std::string(line.substr(0, equals)), std::string(line.substr(equals + 1)));
  }
  return file.bad() ? ReportText(std::string(path) + ": cannot be read to its end") : 0;
}

}  // namespace

std::filesystem::path PathFromUtf8(const char* text) {
  const std::string_view bytes(text);
  return std::filesystem::path(std::u8string(bytes.begin(), bytes.end()));
}

U_Err ReadKeyValueFile(const char* path, KeyValues* out) noexcept {
  try {
    const std::filesystem::path where = PathFromUtf8(path);
    std::ifstream file(where, std::ios::binary);
    if (!file || std::filesystem::is_directory(where)) return ReportText(std::string(path) + ": cannot be opened");
    return ReadLines(path, file, out);
  } catch (const std::exception&) {
    ReportOutOfMemory("lines of a settings file");
    return 4;
  }
}

}  // namespace pfhost
