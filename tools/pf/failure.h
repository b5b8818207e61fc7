/// \file
/// Exit codes of the tool and the one exception that carries a failure to main().
#ifndef TOOLS_PF_FAILURE_H
#define TOOLS_PF_FAILURE_H

#include <exception>
#include <string>

namespace pftool {

/// What the process returns. Codes of the library never become exit codes. A run that SIGINT, SIGTERM
/// or SIGHUP ended returns 128 plus the signal's number.
enum class ExitCode : int {
  kDone = 0,
  kDiffers = 1,        ///< a comparison found a difference above its limit, or the self-test any
  kUsage = 64,         ///< the command line asks for something that cannot be
  kBadData = 65,       ///< a picture cannot be used
  kNoInput = 66,       ///< an input does not exist or cannot be opened
  kInternal = 70,      ///< a fault of the program itself
  kOutOfMemory = 71,   ///< not enough memory
  kCannotCreate = 73,  ///< an output cannot be created
  kInputOutput = 74,   ///< reading or writing failed half-way
  kTryAgain = 75       ///< a shortage that passes
};

/// One line per code, for help and man page.
struct ExitCodeText {
  int code;
  const char* meaning;
};
/// All codes in rising order, ended by a null meaning.
extern const ExitCodeText kExitCodeTexts[];

/// A failure in four parts that read as one sentence: "cannot read 'a.png': the file ends early; fetch a
/// complete copy".
class Failure : public std::exception {
 public:
  /// \param what what could not be done \param where file, option or place (may be empty)
  /// \param why the reason \param next what the user can do
  Failure(ExitCode code, std::string what, std::string where, std::string why, std::string next);

  ExitCode code() const { return code_; }
  const std::string& doing() const { return what_; }
  const std::string& where() const { return where_; }
  const std::string& why() const { return why_; }
  const std::string& next() const { return next_; }
  /// The whole sentence, without the program's name.
  const char* what() const noexcept override { return sentence_.c_str(); }

 private:
  ExitCode code_;
  std::string what_, where_, why_, next_, sentence_;
};

/// A bad command line. \param where the option or argument, quoted by the caller where that helps.
Failure UsageFailure(std::string what, std::string where, std::string why, std::string next);

/// Turns an errno met while creating `path` into a failure with code 73, 74 or 75.
Failure CreateFailure(const std::string& path, int error);
/// Turns an errno met while writing `path` into a failure with code 74 or 75.
Failure WriteFailure(const std::string& path, int error);
/// The system's text of an errno, as in "no space left on device".
std::string ErrorText(int error);
/// The name in single quotes, or "standard input" / "standard output" for "-".
std::string QuotedInput(const std::string& path);
std::string QuotedOutput(const std::string& path);

/// Thrown where a pending signal is noticed.
struct Interrupted {
  int signal;
};

}  // namespace pftool

#endif
