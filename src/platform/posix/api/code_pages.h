/// Conversion between code pages and UTF-16, through iconv. Pages: 437, 850, 874, 932, 936, 949,
/// 950, 1250 to 1258, 1361, 20127, 54936 and 65001.
#pragma once

#include "platform/posix/api/base.h"

constexpr UINT CP_ACP = 0;
constexpr UINT CP_UTF8 = 65001;

/// The ANSI code page: the text value ACP of
/// HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Nls\CodePage, read once per process; 1252
/// when it is absent or no page of the layer.
UINT GetACP();

/// Flags 0 only, and no default character. A length of -1 takes the source with its NUL; a
/// destination size of 0 asks for the size. Returns the characters (including the NUL when the
/// source had one), or 0 with ERROR_INSUFFICIENT_BUFFER, ERROR_INVALID_PARAMETER or
/// ERROR_INVALID_FLAGS.
///
/// Invalid bytes become U+FFFD (U+30FB in page 932), what the page cannot express "?": there is no
/// best fit to similar characters. Bytes 0x80 to 0x9F that a Windows page leaves open stand for the
/// control characters of the same value, both ways.
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR source, int sourceLength,
                        LPWSTR destination, int destinationSize);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR source, int sourceLength,
                        LPSTR destination, int destinationSize, LPCSTR defaultChar,
                        LPBOOL usedDefaultChar);
