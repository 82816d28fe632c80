/// The two framework exception classes that the program catches by pointer. The thrower allocates
/// them with new; the handler that takes one for good calls Delete.
#pragma once

#include <string>

#include "platform/windows_api.h"

class CException {
 public:
  explicit CException(std::basic_string<WCHAR> message);
  virtual ~CException();

  /// Copies the message, cut to `bufferChars` - 1 characters, with its NUL. `helpContext` (may be
  /// null) is set to 0. FALSE, with an empty text, when there is no message or no room.
  virtual BOOL GetErrorMessage(LPWSTR buffer, UINT bufferChars, UINT* helpContext = nullptr) const;
  void Delete();

 private:
  std::basic_string<WCHAR> _message;
};

/// Memory exhaustion as the framework reports it.
class CMemoryException : public CException {
 public:
  CMemoryException();
};
