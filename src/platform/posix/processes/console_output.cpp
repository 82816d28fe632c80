#include "platform/posix/api/console_output.h"

#include "platform/posix/api/code_pages.h"
#include "platform/posix/api/errors.h"

BOOL SetConsoleOutputCP(UINT codePage) {
  if (codePage == CP_UTF8) return TRUE;
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}
