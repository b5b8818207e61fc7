#include <cstring>
#include <string_view>

#include "host/U.h"

namespace pfhost {
namespace {

// A text of limited size that is never cut inside a character.
class CutText {
 public:
  CutText(char* out, std::uint64_t size) : out_(out), room_(static_cast<std::size_t>(size - 1)) {}

  void Append(std::string_view text) {
    if (full_) return;
    const std::size_t count = text.size() <= room_ - used_ ? text.size() : CharacterEnd(text, room_ - used_);
    std::memcpy(out_ + used_, text.data(), count);
    used_ += count;
    full_ = count < text.size();
  }
  void End() { out_[used_] = '\0'; }

 private:
  // The longest run of whole characters within `limit` bytes; limit < text.size().
  static std::size_t CharacterEnd(std::string_view text, std::size_t limit) {
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80) --limit;
    return limit;
  }

  char* out_;
  std::size_t room_;
  std::size_t used_ = 0;
  bool full_ = false;
};

// What stands for the mark at the start of `rest`, or null when there is no mark or nothing for it.
const char* Replacement(std::string_view rest, const char* first, const char* second) {
  if (rest.starts_with("^L1")) return first;
  if (rest.starts_with("^L2")) return second;
  return nullptr;
}

}  // namespace
}  // namespace pfhost

void U_SubString(const char* text, const char* first, const char* second, char* out, std::uint64_t out_size) {
  if (out == nullptr || out_size == 0) return;
  pfhost::CutText result(out, out_size);
  std::string_view rest = text != nullptr ? text : "";
  while (!rest.empty()) {
    if (const char* replacement = pfhost::Replacement(rest, first, second)) {
      result.Append(replacement);
      rest.remove_prefix(3);
      continue;
    }
    const std::size_t plain = rest.find('^', 1);
    result.Append(rest.substr(0, plain));
    rest.remove_prefix(plain == std::string_view::npos ? rest.size() : plain);
  }
  result.End();
}
