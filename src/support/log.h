/// Logging to the process's log: asks whether there is a log and whether the level is wanted, and
/// only then builds the text and writes it.
///
///   Log::Error("PipeServer::Run: Enter");
///   Log::Information([&] { return OString("PipeServer::Run: Size = ") << size; });
///
/// The lines of one function share its name through a Tracer:
///
///   constexpr Tracer kTrace{"PipeServer::Run"};
///   kTrace("Enter");
///
/// A text is a narrow string, an OString, or a callable that returns an OString. A callable runs
/// only when the text is written, so a message that has to be built costs nothing while its level
/// is off.
#pragma once

#include <type_traits>
#include <utility>

#include "support/log_levels.h"
#include "support/oevent_log.h"
#include "support/ostring.h"

namespace Log {

/// False as well while the process has no log.
inline bool IsEnabled(DWORD level) {
  return Z7SvEventLog && Z7SvEventLog->IsLogEnabled(static_cast<int>(level));
}

/// The text of a message, built now.
template <class Text>
OString TextOf(Text&& text) {
  if constexpr (std::is_invocable_v<Text>) {
    return std::forward<Text>(text)();
  } else {
    return OString(std::forward<Text>(text));
  }
}

/// Writes an error event while `gate` is enabled.
template <class Text>
void Error(Text&& text, DWORD gate = LogLevel::kErrors) {
  if (IsEnabled(gate)) Z7SvEventLog->LogErrorEvent(TextOf(std::forward<Text>(text)), 0);
}

/// Writes a warning event while `gate` is enabled.
template <class Text>
void Warning(Text&& text, DWORD gate = LogLevel::kWarnings) {
  if (IsEnabled(gate)) Z7SvEventLog->LogWarningEvent(TextOf(std::forward<Text>(text)), 0);
}

/// Writes an information event that carries `level` while that level is enabled.
template <class Text>
void Information(Text&& text, DWORD level = LogLevel::kDetailInfo) {
  if (IsEnabled(level)) {
    Z7SvEventLog->LogInformationEvent(TextOf(std::forward<Text>(text)), 0, level);
  }
}

}  // namespace Log

/// The lines of one function, or of what else has a name: each starts with that name and a
/// separator. Texts, gates and levels as in Log.
class Tracer {
 public:
  /// Neither text is copied.
  constexpr explicit Tracer(const char* name, const char* separator = ": ")
      : _name(name), _separator(separator) {}

  constexpr const char* Name() const { return _name; }

  /// What stands in front of each text.
  OString Intro() const { return OString(_name) << _separator; }

  template <class Text>
  void operator()(Text&& text, DWORD level = LogLevel::kDetailInfo) const {
    Log::Information([&] { return Line(text); }, level);
  }
  template <class Text>
  void Warning(Text&& text) const {
    Log::Warning([&] { return Line(text); });
  }
  template <class Text>
  void Error(Text&& text) const {
    Log::Error([&] { return Line(text); });
  }

 private:
  template <class Text>
  OString Line(const Text& text) const {
    return Intro() << Log::TextOf(text);
  }

  const char* _name;
  const char* _separator;
};
