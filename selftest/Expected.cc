#include "selftest/Runner.h"

namespace selftest {
namespace {

// Lines, because compilers need not take a longer literal than 65536 characters.
constexpr const char* kLines[] = {
#define VERSION(number, all) "VERSION(" #number ", " #all ")\n",
#define ROW(name, depth, hash, seeds) "ROW(" #name ", " #depth ", " #hash ", " #seeds ")\n",
#include "selftest/Expected.inc"
#undef VERSION
#undef ROW
};

}  // namespace

const Expected& ExpectedResults() {
  static const Expected expected = [] {
    std::string text;
    for (const char* line : kLines) text += line;
    return ReadExpected(text);
  }();
  return expected;
}

}  // namespace selftest
