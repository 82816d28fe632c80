/// Processes: identity, snapshots, opening, starting and ending.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD TH32CS_SNAPPROCESS = 0x00000002;
constexpr DWORD PROCESS_TERMINATE = 0x0001;
constexpr DWORD PROCESS_QUERY_INFORMATION = 0x0400;
constexpr DWORD CREATE_NO_WINDOW = 0x08000000;

DWORD GetCurrentProcessId();
HANDLE GetCurrentProcess();
[[noreturn]] void ExitProcess(UINT exitCode);

struct PROCESSENTRY32W {
  DWORD dwSize;
  DWORD cntUsage;
  DWORD th32ProcessID;
  ULONG_PTR th32DefaultHeapID;
  DWORD th32ModuleID;
  DWORD cntThreads;
  DWORD th32ParentProcessID;
  LONG pcPriClassBase;
  DWORD dwFlags;
  WCHAR szExeFile[MAX_PATH];
};

/// A list of the processes as they are now, by id, parent and program; the other fields are 0.
/// TH32CS_SNAPPROCESS and process id 0 only. The parent of
/// the calling process is the one that it had when the layer was loaded, also after its death.
HANDLE CreateToolhelp32Snapshot(DWORD flags, DWORD processId);
BOOL Process32FirstW(HANDLE snapshot, PROCESSENTRY32W* entry);
BOOL Process32NextW(HANDLE snapshot, PROCESSENTRY32W* entry);

/// A handle that stays bound to this very process, also if its id is used again, and is signalled
/// when the process ends. Rights: SYNCHRONIZE, PROCESS_TERMINATE, PROCESS_QUERY_INFORMATION.
/// No such process: null with ERROR_INVALID_PARAMETER. The layer itself holds the parent open from
/// the moment it is loaded, so a parent that has ended since then can still be opened.
HANDLE OpenProcess(DWORD desiredAccess, BOOL inheritHandle, DWORD processId);

struct STARTUPINFOW {
  DWORD cb;
  LPWSTR lpReserved;
  LPWSTR lpDesktop;
  LPWSTR lpTitle;
  DWORD dwX, dwY, dwXSize, dwYSize, dwXCountChars, dwYCountChars, dwFillAttribute, dwFlags;
  WORD wShowWindow, cbReserved2;
  LPBYTE lpReserved2;
  HANDLE hStdInput, hStdOutput, hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;

struct PROCESS_INFORMATION {
  HANDLE hProcess;
  HANDLE hThread;
  DWORD dwProcessId;
  DWORD dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;

/// Starts a program as a child of this process. Provided: an application name or the first word of
/// the command line, Windows quoting rules, no inherited handles but the standard streams, the
/// caller's environment and folder, and CREATE_NO_WINDOW, which has no effect.
/// `hThread` comes back as a second handle to the process, to be closed like the first.
BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine,
                    LPSECURITY_ATTRIBUTES processAttributes, LPSECURITY_ATTRIBUTES threadAttributes,
                    BOOL inheritHandles, DWORD creationFlags, LPVOID environment,
                    LPCWSTR currentDirectory, LPSTARTUPINFOW startupInfo,
                    LPPROCESS_INFORMATION processInformation);

/// The exit code of a child, of which the system keeps the low 8 bits (STILL_ACTIVE while it runs).
/// A process that a signal ended has the exit code that TerminateProcess gave it when it was ended
/// through this handle, else 128 + signal. ERROR_NOT_SUPPORTED for a process that has ended and was
/// not started by this one: nobody but the parent can know.
BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode);

/// Ends a process at once (SIGKILL). ERROR_ACCESS_DENIED when it has ended.
BOOL TerminateProcess(HANDLE process, UINT exitCode);
