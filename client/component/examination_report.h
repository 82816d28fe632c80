/// What an examination says while it runs, from the process in which the component is loaded to the
/// one that watches it: lines over a named pipe.
#pragma once

#include <optional>
#include <string>

#include "client/io_watchdog.h"
#include "client/text.h"
#include "support/scoped_handle.h"

namespace Tagwright {

enum class ReportKind : char {
  kBegin = '>',    ///< A step begins; the text is its name.
  kEnd = '=',      ///< It has ended; how, and after what time.
  kFault = '!',    ///< Something is wrong.
  kRefused = '-',  ///< The job failed, which is no fault of the component.
  kOver = '.',     ///< Nothing follows.
};

struct ReportLine {
  ReportKind kind;
  std::string text;
};

/// The examining process's end.
class ReportWriter {
 public:
  /// Throws std::runtime_error when nobody listens.
  explicit ReportWriter(const WideString& pipeName);
  /// Control characters of the text become blanks.
  void Write(ReportKind kind, const std::string& text);

 private:
  ScopedHandle _pipe;
};

/// The watching process's end.
class ReportReader {
 public:
  /// Throws std::runtime_error when the pipe cannot be created.
  explicit ReportReader(const WideString& pipeName);

  /// Waits until the examining process has connected. False when it has not after `timeoutMs`.
  bool Accept(DWORD timeoutMs);
  /// The next line; nothing when none came within `timeoutMs` (`HasTimedOut`) or the other end has
  /// gone.
  std::optional<ReportLine> Read(DWORD timeoutMs);
  bool HasTimedOut() const { return _hasTimedOut; }

 private:
  bool Fill();

  ScopedHandle _pipe;
  IoWatchdog _watchdog;
  std::string _received;
  bool _hasTimedOut = false;
};

}  // namespace Tagwright
