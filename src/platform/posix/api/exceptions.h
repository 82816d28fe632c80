/// Structured exceptions: the record that travels with one.
#pragma once

#include "platform/posix/api/base.h"

/// Opaque: handed through, never looked into.
using EXCEPTION_POINTERS = struct _EXCEPTION_POINTERS;
