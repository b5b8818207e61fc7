#include "failure.h"

#include <fmt/format.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <utility>

namespace pftool {

const ExitCodeText kExitCodeTexts[] = {{0, "done"},
                                       {1, "a comparison found a difference above its limit, or the self-test any"},
                                       {64, "the command line asks for something that cannot be"},
                                       {65, "a picture is damaged, or has a form that cannot be used"},
                                       {66, "an input does not exist or cannot be opened"},
                                       {70, "a fault of the program itself"},
                                       {71, "out of memory"},
                                       {73, "an output cannot be created, or exists and --overwrite was not given"},
                                       {74, "reading or writing failed half-way (disk full, broken pipe)"},
                                       {75, "a shortage that passes; try again"},
                                       {130, "stopped by Ctrl-C; no unfinished file is left"},
                                       {143, "stopped by SIGTERM; no unfinished file is left"},
                                       {0, nullptr}};

Failure::Failure(ExitCode code, std::string what, std::string where, std::string why, std::string next)
    : code_(code), what_(std::move(what)), where_(std::move(where)), why_(std::move(why)), next_(std::move(next)) {
  const std::string place = where_.empty() ? "" : " " + where_;
  const std::string advice = next_.empty() ? "" : "; " + next_;
  sentence_ = fmt::format("{}{}: {}{}", what_, place, why_, advice);
}

Failure UsageFailure(std::string what, std::string where, std::string why, std::string next) {
  return {ExitCode::kUsage, std::move(what), std::move(where), std::move(why), std::move(next)};
}

std::string ErrorText(int error) {
  std::string text = std::strerror(error);
  if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1]))) {
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  }
  return text;
}

namespace {

bool Passes(int error) {
  return error == EAGAIN || error == EBUSY || error == EMFILE || error == ENFILE || error == ETXTBSY;
}

}  // namespace

Failure CreateFailure(const std::string& path, int error) {
  const std::string where = QuotedOutput(path);
  if (Passes(error)) {
    return {ExitCode::kTryAgain, "cannot create", where, ErrorText(error), "try again in a moment"};
  }
  if (error == ENOSPC || error == EDQUOT || error == EIO) return WriteFailure(path, error);
  const char* next = error == ENOENT || error == ENOTDIR ? "create the folder first or choose another name"
                                                         : "choose a folder that you may write to";
  return {ExitCode::kCannotCreate, "cannot create", where, ErrorText(error), next};
}

Failure WriteFailure(const std::string& path, int error) {
  const std::string where = QuotedOutput(path);
  if (Passes(error)) return {ExitCode::kTryAgain, "cannot write", where, ErrorText(error), "try again in a moment"};
  const char* next = "nothing was left behind; check the device and run the command again";
  if (error == ENOSPC || error == EDQUOT || error == EFBIG) {
    next = "nothing was left behind; free some space or write elsewhere";
  } else if (error == EPIPE) {
    next = "the program that reads the pipe has ended; check it";
  }
  return {ExitCode::kInputOutput, "cannot write", where, ErrorText(error), next};
}

std::string QuotedInput(const std::string& path) { return path == "-" ? "standard input" : "'" + path + "'"; }
std::string QuotedOutput(const std::string& path) { return path == "-" ? "standard output" : "'" + path + "'"; }

}  // namespace pftool
