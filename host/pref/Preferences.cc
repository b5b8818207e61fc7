#include "pref/Preferences.h"

#include <charconv>
#include <exception>
#include <optional>
#include <string>

#include "file/KeyValueFile.h"
#include "host/PREF.h"

namespace pfhost {
namespace {

KeyValues& ThePreferences() {
  static KeyValues preferences;
  return preferences;
}

const std::string* FindPreference(const char* section, const char* key) {
  if (section == nullptr || key == nullptr) return nullptr;
  const auto found = ThePreferences().find(std::string(section) + "/" + key);
  return found != ThePreferences().end() ? &found->second : nullptr;
}

std::optional<std::int64_t> ParseInteger(const std::string& text) {
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

std::optional<std::int64_t> ParseBool(const std::string& text) {
  if (text == "true" || text == "yes" || text == "on") return 1;
  if (text == "false" || text == "no" || text == "off") return 0;
  const std::optional<std::int64_t> number = ParseInteger(text);
  return number ? std::optional<std::int64_t>(*number != 0) : std::nullopt;
}

// A value that does not parse counts as not set.
template <class Parse>
std::int64_t Read(const char* section, const char* key, std::int64_t default_value, Parse parse) noexcept {
  try {
    const std::string* text = FindPreference(section, key);
    return text != nullptr ? parse(*text).value_or(default_value) : default_value;
  } catch (const std::exception&) {
    return default_value;
  }
}

}  // namespace

U_Err StartPreferences(const char* file) noexcept {
  return file != nullptr ? ReadKeyValueFile(file, &ThePreferences()) : 0;
}

void StopPreferences() noexcept { ThePreferences().clear(); }

}  // namespace pfhost

std::int32_t PREF_GetBool(const char* section, const char* key, std::int32_t default_value) {
  return static_cast<std::int32_t>(pfhost::Read(section, key, default_value, pfhost::ParseBool));
}

std::int64_t PREF_GetInteger(const char* section, const char* key, std::int64_t default_value) {
  return pfhost::Read(section, key, default_value, pfhost::ParseInteger);
}
