/// Conversion between code pages and UTF-16, through iconv. The ANSI code page is the registry value
/// ACP of HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Nls\CodePage, read once; 1252 when
/// absent.
#pragma once

#include "platform/posix/api/base.h"

constexpr UINT CP_ACP = 0;
constexpr UINT CP_UTF8 = 65001;

UINT GetACP();

/// Flags 0 only. A length of -1 takes the source with its NUL; a destination size of 0 asks for the
/// size. Returns the characters (including the NUL when the source had one), or 0 with
/// ERROR_INSUFFICIENT_BUFFER or ERROR_INVALID_PARAMETER. What the code page cannot express becomes
/// U+FFFD or "?", as on Windows.
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR source, int sourceLength,
                        LPWSTR destination, int destinationSize);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR source, int sourceLength,
                        LPSTR destination, int destinationSize, LPCSTR defaultChar,
                        LPBOOL usedDefaultChar);
