/// How a command ends when it cannot do what it was asked to.
#pragma once

#include <stdexcept>
#include <string>

namespace Ctl {

/// Exit codes of tagwrightctl, part of its interface.
enum class ExitCode : int {
  kSuccess = 0,
  kRefused = 1,     ///< Every request was answered, at least one with a status other than 0.
  kUsage = 2,       ///< The command line, or a line of standard input, is not understood.
  kLocal = 3,       ///< A file, the registry or a program of this machine could not be used.
  kNoPipe = 4,      ///< No process serves the pipe.
  kPipeBusy = 5,    ///< The pipe has, or has had, its one client.
  kServerGone = 6,  ///< The server went away before its reply was complete.
  kTimeout = 7,     ///< No reply within --timeout.
  kBadReply = 8,    ///< Something came back that is no reply.
  kDoubtful = 9,    ///< A job looks wrong, and nothing was sent; or a component does.
};

/// Ends the command: `what()` is for people, the code for scripts.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& text) : std::runtime_error(text), _code(code) {}
  ExitCode Code() const { return _code; }

 private:
  ExitCode _code;
};

}  // namespace Ctl
