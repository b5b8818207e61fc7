// pf-selftest: the self-test as a program that needs the library and its embedded host and nothing else.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "selftest/Runner.h"

namespace {

constexpr char kUsage[] =
    "pf-selftest [--threads N] [--target NAME] [--quiet] [--list-targets] [--write-expected FILE]\n"
    "  Runs every operation of the library on fixed inputs and compares 128-bit hashes of what comes out.\n"
    "  --threads N            threads of the host; 0 = one per processor\n"
    "  --target NAME          the widest vector target to use, as --list-targets names them\n"
    "  --quiet                the last line alone\n"
    "  --write-expected FILE  write what came out as the expected results\n"
    "Exit code 0: as expected; 1: not; 64: bad command line; 70: the run failed.\n";

struct Wish {
  selftest::RunOptions run;
  bool quiet = false, list = false, help = false;
  std::string write;
};

bool Read(int argc, char** argv, Wish* wish) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const bool has_value = i + 1 < argc;
    if (word == "--quiet") {
      wish->quiet = true;
    } else if (word == "--help") {
      wish->help = true;
    } else if (word == "--list-targets") {
      wish->list = true;
    } else if (word == "--target" && has_value) {
      wish->run.target = argv[++i];
    } else if (word == "--write-expected" && has_value) {
      wish->write = argv[++i];
    } else if (word == "--threads" && has_value) {
      char* end = nullptr;
      const auto threads = std::strtol(argv[++i], &end, 10);
      if (*end != 0 || end == argv[i] || threads < 0 || threads > 1024) return false;
      wish->run.threads = static_cast<std::int32_t>(threads);
    } else {
      return false;
    }
  }
  return true;
}

int Write(const std::string& path, const selftest::Results& results) {
  const std::string text = selftest::ExpectedText(results);
  std::FILE* file = std::fopen(path.c_str(), "wb");
  const bool ok = file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
  if ((file != nullptr && std::fclose(file) != 0) || !ok) {
    std::fprintf(stderr, "pf-selftest: cannot write '%s'\n", path.c_str());
    return 70;
  }
  return 0;
}

int Test(const Wish& wish) {
  const selftest::Expected& expected = selftest::ExpectedResults();
  const auto print = [](const std::string& line) { std::fputs(line.c_str(), stdout); };
  if (!wish.quiet) print(selftest::FirstLine());
  const selftest::Results results = selftest::Run(selftest::Operations(), wish.run, [&](const selftest::Row& row) {
    if (!wish.quiet) print(selftest::LineOf(row, selftest::AsExpected(expected.results, row)));
  });
  if (!wish.quiet) print(selftest::OutsideLine());
  print(selftest::LastLine(results, expected.version));
  std::fflush(stdout);
  if (!wish.write.empty()) return Write(wish.write, results);
  selftest::Difference first;
  if (!selftest::FindDifference(expected.results, results, &first)) return 0;
  std::fprintf(stderr, "pf-selftest: %s\n", first.Text().c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  Wish wish;
  if (!Read(argc, argv, &wish) || wish.help) {
    std::fputs(kUsage, wish.help ? stdout : stderr);
    return wish.help ? 0 : 64;
  }
  try {
    if (wish.list) {
      for (const std::string& name : selftest::TargetsHere()) std::printf("%s\n", name.c_str());
      return 0;
    }
    return Test(wish);
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "pf-selftest: %s\n", error.what());
    return 64;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "pf-selftest: %s\n", error.what());
    return 70;
  }
}
