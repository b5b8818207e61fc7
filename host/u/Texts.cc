#include "u/Texts.h"

#include <exception>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>

#include "file/KeyValueFile.h"
#include "u/ThreadState.h"

namespace pfhost {
namespace {

constexpr std::string_view kKeyPrefix = "$$$/";

// Texts live in nodes, so that their addresses stay while the cache grows.
struct Texts {
  std::shared_mutex mutex;
  KeyValues translations;
  KeyValues cache;  // from the whole keyed text to what is shown
};

Texts& TheTexts() {
  static Texts texts;
  return texts;
}

std::string WithMarkupReplaced(std::string text) {
  constexpr std::string_view kMarkup = "#{rsquo}";
  constexpr std::string_view kRightSingleQuote = "\xE2\x80\x99";
  for (std::size_t at = 0; (at = text.find(kMarkup, at)) != std::string::npos; at += kRightSingleQuote.size()) {
    text.replace(at, kMarkup.size(), kRightSingleQuote);
  }
  return text;
}

// An empty translation is one that has not been made yet.
std::string Translate(const KeyValues& translations, const std::string& key, const std::string& default_text) {
  const auto found = translations.find(key);
  return WithMarkupReplaced(found != translations.end() && !found->second.empty() ? found->second : default_text);
}

const char* CachedText(Texts& texts, const std::string& keyed) {
  const std::shared_lock lock(texts.mutex);
  const auto found = texts.cache.find(keyed);
  return found != texts.cache.end() ? found->second.c_str() : nullptr;
}

const char* FindText(const std::string& keyed) {
  Texts& texts = TheTexts();
  if (const char* cached = CachedText(texts, keyed)) return cached;
  const std::size_t equals = keyed.find('=');
  if (!keyed.starts_with(kKeyPrefix) || equals == std::string::npos) return nullptr;
  const std::unique_lock lock(texts.mutex);
  std::string text = Translate(texts.translations, keyed.substr(0, equals), keyed.substr(equals + 1));
  return texts.cache.try_emplace(keyed, std::move(text)).first->second.c_str();
}

}  // namespace

U_Err StartTexts(const char* catalogue) noexcept {
  return catalogue != nullptr ? ReadKeyValueFile(catalogue, &TheTexts().translations) : 0;
}

void StopTexts() noexcept {
  TheTexts().translations.clear();
  TheTexts().cache.clear();
}

}  // namespace pfhost

const char* U_ZLookup(const char* keyed_text) {
  if (keyed_text == nullptr) return nullptr;
  try {
    return pfhost::FindText(keyed_text);
  } catch (const std::exception&) {
    return nullptr;
  }
}

const char* U_ZLookupLStrCache(U_ZRef table, std::int32_t number, std::int32_t, std::int32_t) {
  if (table == nullptr || number < 0 || number >= table->count) return nullptr;
  return U_ZLookup(table->keyed_texts[number]);
}
