#include "support/framework_message.h"

OString FrameworkMessage(const CException& exception) {
  constexpr UINT kBufferChars = 255;
  WCHAR buffer[kBufferChars] = {};
  exception.GetErrorMessage(buffer, kBufferChars, nullptr);
  return OString(buffer);
}
