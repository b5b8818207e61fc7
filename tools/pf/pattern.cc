#include "pattern.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "failure.h"

namespace pftool {
namespace {

constexpr int kMaxDigits = 9;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::string Shown(const std::string& text, std::size_t at) {
  if (at >= text.size()) return "it ends too early";
  return fmt::format("character '{}' at position {} is not understood", text[at], at + 1);
}

Failure BadPattern(const std::string& name, const std::string& why) {
  return UsageFailure("cannot use the name", "'" + name + "'", why,
                      "write the frame number as %04d or ####, and a percent sign as %%");
}

// Reads the place at text[at], which is '%' (not "%%") or '#', and moves `at` behind it.
int ReadPlace(const std::string& name, std::size_t* at) {
  const std::size_t start = *at;
  if (name[start] == '#') {
    while (*at < name.size() && name[*at] == '#') ++*at;
    if (*at - start > kMaxDigits) throw BadPattern(name, "more than nine digits for the frame number");
    return static_cast<int>(*at - start);
  }
  ++*at;
  int digits = 0;
  if (*at < name.size() && name[*at] == '0') {
    ++*at;
    if (*at >= name.size() || !IsDigit(name[*at]) || name[*at] == '0') throw BadPattern(name, Shown(name, *at));
    digits = name[(*at)++] - '0';
  }
  if (*at >= name.size() || name[*at] != 'd') throw BadPattern(name, Shown(name, *at));
  ++*at;
  return digits;
}

}  // namespace

std::string NamePattern::Name(int frame) const { return fmt::format("{}{:0{}}{}", head, frame, digits, tail); }

std::optional<NamePattern> ParsePattern(const std::string& name, std::string* plain) {
  const std::size_t slash = name.rfind('/');
  std::size_t at = slash == std::string::npos ? 0 : slash + 1;
  NamePattern pattern{name.substr(0, at), "", 0};
  bool found = false;
  while (at < name.size()) {
    const bool escaped = name.compare(at, 2, "%%") == 0;
    if (!escaped && (name[at] == '%' || name[at] == '#')) {
      if (found) throw BadPattern(name, "it has two places for a frame number");
      pattern.digits = ReadPlace(name, &at);
      found = true;
      continue;
    }
    (found ? pattern.tail : pattern.head) += name[at];
    at += escaped ? 2 : 1;
  }
  if (found) return pattern;
  if (plain) *plain = pattern.head;
  return std::nullopt;
}

namespace {

// A cursor over the list; every refusal names the character it stands on.
class FrameList {
 public:
  explicit FrameList(const std::string& text) : text_(text) {}

  std::vector<int> Read() {
    do {
      ReadItem();
    } while (Take(','));
    if (at_ != text_.size()) throw Bad(Shown(text_, at_));
    return std::move(frames_);
  }

 private:
  Failure Bad(const std::string& why) const {
    return UsageFailure("cannot use --frames", "'" + text_ + "'", why, "write it like 1-100x2,150");
  }

  bool Take(char c) {
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  int Number() {
    if (at_ >= text_.size() || !IsDigit(text_[at_])) throw Bad(Shown(text_, at_));
    int value = 0;
    while (at_ < text_.size() && IsDigit(text_[at_])) {
      value = value * 10 + (text_[at_++] - '0');
      if (value > kMaxFrame) throw Bad(fmt::format("frame numbers end at {}", static_cast<int>(kMaxFrame)));
    }
    return value;
  }

  void ReadItem() {
    const int first = Number();
    int last = first, step = 1;
    if (Take('-')) {
      last = Number();
      if (Take('x')) step = Number();
    }
    if (last < first) throw Bad(fmt::format("the range {}-{} ends before it starts", first, last));
    if (step == 0) throw Bad("a step of 0 never ends");
    for (int frame = first; frame <= last; frame += step) Add(frame);
  }

  void Add(int frame) {
    if (!seen_.insert(frame).second) throw Bad(fmt::format("frame {} is named twice", frame));
    if (frames_.size() >= kMaxFrames) {
      throw Bad(fmt::format("it names more than {} frames", static_cast<int>(kMaxFrames)));
    }
    frames_.push_back(frame);
  }

  const std::string& text_;
  std::size_t at_ = 0;
  std::vector<int> frames_;
  std::set<int> seen_;
};

// The frame number in a file's name, or -1. The name must be the one the pattern gives for that number.
int FrameOf(const NamePattern& pattern, const std::string& path) {
  if (path.size() <= pattern.head.size() + pattern.tail.size()) return -1;
  if (path.compare(0, pattern.head.size(), pattern.head) != 0) return -1;
  const std::string digits = path.substr(pattern.head.size(), path.size() - pattern.head.size() - pattern.tail.size());
  if (digits.size() > kMaxDigits - 1 || !std::all_of(digits.begin(), digits.end(), IsDigit)) return -1;
  const int frame = std::stoi(digits);
  return pattern.Name(frame) == path ? frame : -1;
}

}  // namespace

std::vector<int> ParseFrames(const std::string& text) { return FrameList(text).Read(); }

std::vector<int> FindFrames(const NamePattern& pattern) {
  const std::size_t slash = pattern.head.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : pattern.head.substr(0, slash + 1);
  std::vector<int> frames;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder.empty() ? "." : folder, error)) {
    const int frame = FrameOf(pattern, folder + entry.path().filename().string());
    if (frame >= 0) frames.push_back(frame);
  }
  std::sort(frames.begin(), frames.end());
  return frames;
}

}  // namespace pftool
