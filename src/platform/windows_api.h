/// The one header through which the product reaches the system.
///
/// On Windows it includes the system's own headers and nothing else. On Linux it declares the
/// subset of the Windows API that the product calls, under the same names and with the documented
/// behaviour; `posix/` implements it, one folder per family.
///
/// Text is UTF-16 in WCHAR on both systems; literals are written TEXT("...").
#pragma once

#if defined(_WIN32)

#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif

// The other headers need windows.h before them and say so nowhere.
// clang-format off
#include <windows.h>

#include <dbghelp.h>
#include <malloc.h>
#include <objbase.h>
#include <process.h>
#include <sddl.h>
#include <share.h>
#include <shlobj.h>
#include <stdio.h>
#include <tlhelp32.h>
// clang-format on

#else

#include "platform/posix/api/base.h"
#include "platform/posix/api/code_pages.h"
#include "platform/posix/api/com.h"
#include "platform/posix/api/console.h"
#include "platform/posix/api/console_output.h"
#include "platform/posix/api/crash_dumps.h"
#include "platform/posix/api/debug_output.h"
#include "platform/posix/api/errors.h"
#include "platform/posix/api/event_log.h"
#include "platform/posix/api/exceptions.h"
#include "platform/posix/api/files.h"
#include "platform/posix/api/handles.h"
#include "platform/posix/api/libraries.h"
#include "platform/posix/api/pipes.h"
#include "platform/posix/api/processes.h"
#include "platform/posix/api/registry.h"
#include "platform/posix/api/security.h"
#include "platform/posix/api/synchronization.h"
#include "platform/posix/api/threads.h"
#include "platform/posix/api/time.h"

#endif
