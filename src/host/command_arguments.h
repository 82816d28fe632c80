/// The facts of the command line: "/n NAME" gives the pipe name, "/c" asks for control-channel
/// mode. The switches are compared exactly; unknown arguments are skipped in silence.
#pragma once

#include <type_traits>

#include "platform/windows_api.h"
#include "support/ostring.h"

/// Compares code unit by code unit as unsigned values: -1, 0 or 1; a string that ends first is the
/// smaller. -1 when either pointer is null. No case folding, no locale.
template <class Character>
int xstrcmp(const Character* a, const Character* b);

class CommandArguments {
 public:
  /// `argv` holds `argc` strings, the first being the program's path. Errors are logged.
  CommandArguments(int argc, const WCHAR* const* argv);
  ~CommandArguments() = default;

  /// Whether the command line is unusable: no pipe name, or "/n" without its value.
  bool HasError() const { return _hasError; }

  /// The value of the last "/n", taken verbatim. Valid while this object lives.
  const OString& GetPipeName() const { return _pipeName; }

  bool IsUsingControlChannel() const { return _usesControlChannel; }

 private:
  void Parse(int argc, const WCHAR* const* argv);
  void SetProgramName(const WCHAR* path);
  void ReportError(const char* text);

  bool _hasError = false;
  OString _pipeName;
  OString _programName;
  bool _usesControlChannel = false;
};

template <class Character>
int xstrcmp(const Character* a, const Character* b) {
  if (a == nullptr || b == nullptr) return -1;
  using Unsigned = std::make_unsigned_t<Character>;
  while (*a != 0 && *a == *b) {
    ++a;
    ++b;
  }
  const auto left = static_cast<Unsigned>(*a);
  const auto right = static_cast<Unsigned>(*b);
  return left < right ? -1 : left > right;
}
