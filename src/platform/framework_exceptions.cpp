#include "platform/framework_exceptions.h"

#include <algorithm>
#include <utility>

CException::CException(std::basic_string<WCHAR> message) : _message(std::move(message)) {}

CException::~CException() = default;

BOOL CException::GetErrorMessage(LPWSTR buffer, UINT bufferChars, UINT* helpContext) const {
  if (helpContext != nullptr) *helpContext = 0;
  if (buffer == nullptr || bufferChars == 0) return FALSE;
  const std::size_t count = std::min<std::size_t>(_message.size(), bufferChars - 1);
  std::copy_n(_message.data(), count, buffer);
  buffer[count] = 0;
  return _message.empty() ? FALSE : TRUE;
}

void CException::Delete() { delete this; }

CMemoryException::CMemoryException() : CException(TEXT("Out of memory.")) {}
