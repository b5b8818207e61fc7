// Names of working spaces, as users see them.
#include <cstring>

#include "PF/PF_ColorSettings.h"
#include "color/Engine.h"
#include "report/Texts.h"

namespace pf {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Takes one character off the front of UTF-8; what is malformed gives the replacement character.
char32_t TakeCharacter(const unsigned char*& text) {
  const unsigned char lead = *text++;
  if (lead < 0x80) return lead;
  const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4) return kReplacement;
  constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  auto character = static_cast<char32_t>(lead & (0x3F >> more));
  for (int i = 0; i < more; ++i) {
    if ((*text & 0xC0) != 0x80) return kReplacement;
    character = character << 6 | (*text++ & 0x3F);
  }
  const bool surrogate = character >= 0xD800 && character < 0xE000;
  return character < kSmallest[more] || character > 0x10FFFF || surrogate ? kReplacement : character;
}

std::wstring Widened(const char* text) {
  std::wstring wide;
  const auto* rest = reinterpret_cast<const unsigned char*>(text);
  while (*rest != 0) {
    const char32_t character = TakeCharacter(rest);
    if (sizeof(wchar_t) == 2 && character > 0xFFFF) {
      wide += static_cast<wchar_t>(0xD7C0 + (character >> 10));
      wide += static_cast<wchar_t>(0xDC00 + (character & 0x3FF));
    } else {
      wide += static_cast<wchar_t>(character);
    }
  }
  return wide;
}

std::wstring Localized(const char* keyed_text) {
  const char* text = U_ZLookup(keyed_text);
  return Widened(text != nullptr ? text : std::strchr(keyed_text, '=') + 1);
}

std::wstring WorkingSpaceNamed(const std::wstring& name) { return Localized(kWorkingSpaceText) + L" " + name; }

std::wstring NameOf(const COR_XCE_Profile* profile) {
  COR_XCE_ProfileInfo info = {};
  CheckEngine(COR_DescribeProfile(profile, &info));
  return Widened(info.name);
}

}  // namespace
}  // namespace pf

std::wstring PF_GetWorkingSpaceProfileName() {
  pf::ProfileRef profile;
  const U_Err status = COR_GetDefaultWorkingProfile(&profile);
  if (status == XCE_ERR_ABSENT) return pf::WorkingSpaceNamed(pf::Localized(pf::kNoProfileText));
  pf::CheckEngine(status);
  return pf::WorkingSpaceNamed(pf::NameOf(profile.get()));
}

std::wstring PF_GetWorkingSpaceProfileName(const PF_ColorSettings& settings) {
  const pf::ProfileRef profile = settings.GetProfile();
  return pf::WorkingSpaceNamed(profile != nullptr ? pf::NameOf(profile.get()) : pf::Localized(pf::kNoProfileText));
}
