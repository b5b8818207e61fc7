#include "retime/journal.h"

#include <fmt/format.h>
#include <sys/stat.h>
#define XXH_INLINE_ALL
#include <xxhash.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <utility>

#include "failure.h"
#include "signals.h"

namespace pftool {
namespace {

constexpr std::size_t kDigits = 32;

std::string Text(const XXH128_hash_t& hash) { return fmt::format("{:016x}{:016x}", hash.high64, hash.low64); }

std::string NameIn(const std::string& path) { return std::filesystem::path(path).filename().string(); }

bool Exists(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

std::string HashOf(const std::string& bytes) { return Text(XXH3_128bits(bytes.data(), bytes.size())); }

std::string HashOfFile(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  const std::unique_ptr<XXH3_state_t, XXH_errorcode (*)(XXH3_state_t*)> state(XXH3_createState(), &XXH3_freeState);
  if (!file || !state) {
    throw Failure(ExitCode::kNoInput, "cannot read", QuotedInput(path), ErrorText(errno), "check the name");
  }
  XXH3_128bits_reset(state.get());
  std::array<char, 1 << 16> buffer;
  while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), file.get())) {
    StopIfSignalled();
    XXH3_128bits_update(state.get(), buffer.data(), got);
  }
  return Text(XXH3_128bits_digest(state.get()));
}

Journal::Journal(std::string path) : path_(std::move(path)) {
  std::ifstream file(path_, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  std::istringstream lines(text.str().substr(0, text.str().rfind('\n') + 1));
  for (std::string line; std::getline(lines, line);) {
    if (line.size() < 2 * kDigits + 3) continue;
    entries_[line.substr(2 * kDigits + 2)] = {line.substr(0, kDigits), line.substr(kDigits + 1, kDigits)};
  }
}

bool Journal::IsOurs(const std::string& path) const {
  const auto entry = entries_.find(NameIn(path));
  return entry != entries_.end() && Exists(path) && HashOfFile(path) == entry->second.content;
}

bool Journal::IsThere(const std::string& path, const std::string& made_from) const {
  const auto entry = entries_.find(NameIn(path));
  return entry != entries_.end() && entry->second.made_from == made_from && IsOurs(path);
}

void Journal::Add(const std::string& path, const std::string& made_from) {
  const Entry entry = {made_from, HashOfFile(path)};
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path_.c_str(), "ab"), &std::fclose);
  if (!file) throw CreateFailure(path_, errno);
  // A line that an earlier run left unfinished ends here.
  const std::string start = std::ftell(file.get()) > 0 && entries_.empty() ? "\n" : "";
  const std::string line = fmt::format("{}{} {} {}\n", start, entry.made_from, entry.content, NameIn(path));
  if (std::fwrite(line.data(), 1, line.size(), file.get()) != line.size() || std::fflush(file.get()) != 0) {
    throw WriteFailure(path_, errno);
  }
  entries_[NameIn(path)] = entry;
}

}  // namespace pftool
