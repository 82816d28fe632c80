/// Types, calling conventions and literals that every family of the layer shares.
/// Sizes are those of 64-bit Windows: DWORD and LONG have 32 bits, WCHAR has 16.
#pragma once

#include <cstddef>
#include <cstdint>

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using INT = int;
using UINT = unsigned int;
using CHAR = char;
using WCHAR = char16_t;
using SIZE_T = std::size_t;
using ULONG_PTR = std::uintptr_t;
using HRESULT = std::int32_t;
using LSTATUS = std::int32_t;
using REGSAM = DWORD;

using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using LPBOOL = BOOL*;
using PSID = void*;
using HLOCAL = void*;
using PSECURITY_DESCRIPTOR = void*;

using HANDLE = void*;
using HWND = struct HWND__*;
using HMODULE = struct HINSTANCE__*;
using HINSTANCE = HMODULE;
using HKEY = struct HKEY__*;
using FARPROC = std::intptr_t (*)();

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

/// Overlapped I/O is not provided: every call that takes an OVERLAPPED pointer requires null and
/// fails with ERROR_INVALID_PARAMETER otherwise.
using OVERLAPPED = struct _OVERLAPPED;
using LPOVERLAPPED = OVERLAPPED*;

#define WINAPI
#define APIENTRY
#define CALLBACK
#define __stdcall
#define __cdecl

#define TAGWRIGHT_WIDE_LITERAL(text) u##text
#define TEXT(text) TAGWRIGHT_WIDE_LITERAL(text)

constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;
constexpr DWORD MAX_PATH = 260;
constexpr DWORD INFINITE = 0xFFFFFFFFU;

/// The value of "no handle" that CreateFileW and CreateNamedPipeW return.
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(~std::uintptr_t{0});

#define LOWORD(value) (static_cast<WORD>((value)&0xFFFFU))
