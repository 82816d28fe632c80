/// The exceptions that every thread procedure catches and reports.
#pragma once

#include <memory>

#include "platform/windows_api.h"
#include "support/fixed_text.h"

/// An error code with its text. Thrown by value, caught by const reference.
class OException {
 public:
  /// Copies `message`; null takes the system's text for `errorCode` (for ERROR_INTERNAL_ERROR when
  /// the code is below 1), and leaves no message when there is none or no memory for it.
  /// `pointers` (not owned) are those of a structured exception, else null. Raises nothing itself.
  OException(LONG errorCode, const char* message, EXCEPTION_POINTERS* pointers);
  OException(const OException& other);
  virtual ~OException();
  OException& operator=(const OException&) = delete;

  LONG ErrorCode() const { return _errorCode; }
  /// May be null.
  const char* Message() const { return _message.get(); }
  EXCEPTION_POINTERS* Pointers() const { return _pointers; }

 private:
  LONG _errorCode;
  std::unique_ptr<char[]> _message;
  EXCEPTION_POINTERS* _pointers;
};

/// A standard failure with the text that describes it (not owned, may be null).
class OStdException {
 public:
  explicit OStdException(const char* description) : _description(description) {}
  const char* Description() const { return _description; }

 private:
  const char* _description;
};

/// The translator of every thread with an exception handler scope: throws an OException with the
/// error code and text that stand for the structured exception's code, and with the pointers.
[[noreturn]] void ThrowStructuredException(unsigned code, EXCEPTION_POINTERS* pointers);

/// The longest text of the system for an error code, NUL included.
constexpr std::size_t kMaxSystemText = 1024;

/// The text that the OException has for the code, without its line end. Takes no memory from the
/// heap.
FixedText<kMaxSystemText> StructuredExceptionText(DWORD code);
