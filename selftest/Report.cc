// Results as text: the lines of a report, and the file of expected results.
#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "selftest/Runner.h"

namespace selftest {
namespace {

std::uint64_t Number(const std::string& digits) {
  std::uint64_t value = 0;
  for (const char c : digits) value = value << 4 | static_cast<std::uint64_t>(c <= '9' ? c - '0' : c - 'a' + 10);
  return value;
}

// `size` hexadecimal digits, or any multiple of 8 of them for 0.
std::string Digits(const std::string& text, std::size_t size) {
  const bool whole = size == 0 ? !text.empty() && text.size() % 8 == 0 : text.size() == size;
  if (!whole || text.find_first_not_of("0123456789abcdef") != std::string::npos) {
    throw std::invalid_argument("'" + text.substr(0, 40) + "' is no hash");
  }
  return text;
}

Hash128 HashOf(const std::string& text) {
  const std::string digits = Digits(text, 32);
  return {Number(digits.substr(0, 16)), Number(digits.substr(16))};
}

// The words of NAME(word, "word", ...).
std::vector<std::string> WordsOf(const std::string& line, const std::string& name, std::size_t count) {
  std::vector<std::string> words;
  std::string word;
  bool quoted = false;
  for (std::size_t i = name.size() + 1; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '"') {
      quoted = !quoted;
    } else if (!quoted && (c == ',' || c == ')')) {
      words.push_back(word);
      word.clear();
    } else if (quoted || c != ' ') {
      word += c;
    }
  }
  if (words.size() != count) throw std::invalid_argument("a line of " + name + " with other than its words");
  return words;
}

bool Begins(const std::string& line, const std::string& with) { return line.compare(0, with.size(), with) == 0; }

}  // namespace

Expected ReadExpected(const std::string& text) {
  Expected read;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty() || Begins(line, "//")) continue;
    if (Begins(line, "VERSION(")) {
      const auto words = WordsOf(line, "VERSION", 2);
      read.version = std::atoi(words[0].c_str());
      read.results.all = HashOf(words[1]);
    } else if (Begins(line, "ROW(")) {
      const auto words = WordsOf(line, "ROW", 4);
      Row row = {words[0], std::atoi(words[1].c_str()), HashOf(words[2]), {}};
      const std::string seeds = Digits(words[3], 0);
      for (std::size_t i = 0; i < seeds.size(); i += 8) {
        row.seeds.push_back(static_cast<std::uint32_t>(Number(seeds.substr(i, 8))));
      }
      read.results.rows.push_back(row);
    } else {
      throw std::invalid_argument("'" + line.substr(0, 40) + "' is no line of expected results");
    }
  }
  if (read.version <= 0) throw std::invalid_argument("there is no version");
  return read;
}

std::string ExpectedText(const Results& results) {
  const Expected& known = ExpectedResults();
  const std::int32_t version = known.version + (results.all == known.results.all ? 0 : 1);
  std::string text =
      "// What the self-test gives, written by itself: pf-selftest --write-expected FILE. Its version and hash stand "
      "in\n"
      "// CHANGELOG.md. Operation, depth, hash, and 32 bits for each seed.\n";
  text += "VERSION(" + std::to_string(version) + ", \"" + results.all.Text() + "\")\n";
  for (const Row& row : results.rows) {
    text += "ROW(\"" + row.name + "\", " + std::to_string(row.depth) + ", \"" + row.hash.Text() + "\", \"";
    for (const std::uint32_t seed : row.seeds) text += Hash128{0, seed}.Text().substr(24);
    text += "\")\n";
  }
  return text;
}

std::string FirstLine() { return "operation                                     depth seeds  hash\n"; }

std::string LineOf(const Row& row, bool as_expected) {
  char line[160];
  std::snprintf(line, sizeof line, "%-45s %5d %5d  %s  %s\n", row.name.c_str(), static_cast<int>(row.depth),
                static_cast<int>(row.seeds.size()), row.hash.Text().c_str(), as_expected ? "ok" : "differs");
  return line;
}

std::string OutsideLine() { return "outside: what comes from the host's colour engine\n"; }

std::string LastLine(const Results& results, std::int32_t version) {
  return "all " + results.all.Text() + " (" + std::to_string(results.rows.size()) + " operations, version " +
         std::to_string(version) + ")\n";
}

}  // namespace selftest
