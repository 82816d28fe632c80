/// The code page in which a console takes what programs write to it.
#pragma once

#include "platform/posix/api/base.h"

/// Terminals take UTF-8 and nothing else: TRUE for CP_UTF8, else FALSE with
/// ERROR_INVALID_PARAMETER.
BOOL SetConsoleOutputCP(UINT codePage);
