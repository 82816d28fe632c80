/// What the layer does not provide, it refuses at once, with the system error that tells why.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "platform/windows_api.h"

namespace {

constexpr const WCHAR* kFile = TEXT("C:\\refused.txt");
constexpr const WCHAR* kPipe = TEXT("\\\\.\\pipe\\refused");

/// A pointer where none may be given.
template <class T>
T* Something() {
  static long something = 0;
  return reinterpret_cast<T*>(&something);
}

bool IsRefused(HANDLE handle) {
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) return true;
  CloseHandle(handle);
  return false;
}

bool File(DWORD access, DWORD sharing, DWORD flags, HANDLE templateFile = nullptr,
          SECURITY_ATTRIBUTES* attributes = nullptr, DWORD disposition = OPEN_ALWAYS) {
  return IsRefused(
      CreateFileW(kFile, access, sharing, attributes, disposition, flags, templateFile));
}

bool Pipe(DWORD openMode, DWORD pipeMode, DWORD maxInstances, LPCWSTR name = kPipe) {
  return IsRefused(CreateNamedPipeW(name, openMode, pipeMode, maxInstances, 0, 0, 0, nullptr));
}

bool Start(LPCWSTR application, DWORD flags, STARTUPINFOW* startup, SECURITY_ATTRIBUTES* attributes,
           SECURITY_ATTRIBUTES* threadAttributes, void* environment, LPCWSTR folder) {
  PROCESS_INFORMATION process{};
  return !CreateProcessW(application, nullptr, attributes, threadAttributes, FALSE, flags,
                         environment, folder, startup, &process);
}

bool Convert(LPCWSTR text, DWORD revision) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  return !ConvertStringSecurityDescriptorToSecurityDescriptorW(text, revision, &descriptor,
                                                               nullptr);
}

bool Report(HANDLE log, WORD type, void* user, WORD count, const WCHAR* text, DWORD dataSize) {
  return !ReportEventW(log, type, 0, 1, user, count, dataSize, &text, nullptr);
}

bool Dump(HANDLE process, HANDLE file, DWORD id, DWORD type, bool withStreams) {
  return !MiniDumpWriteDump(process, id, file, static_cast<MINIDUMP_TYPE>(type), nullptr,
                            withStreams ? Something<MINIDUMP_USER_STREAM_INFORMATION>() : nullptr,
                            nullptr);
}

bool Widen(UINT page, DWORD flags, const char* text, int length, WCHAR* wide, int size) {
  return MultiByteToWideChar(page, flags, text, length, wide, size) == 0;
}

bool Format(DWORD flags, DWORD code) {
  char text[4];
  return FormatMessageA(flags, nullptr, code, 0, text, sizeof text, nullptr) == 0;
}

/// A call that has just been made, and what the last error has to be.
struct Case {
  Case(bool refused, DWORD reason, int at = __builtin_LINE())
      : isRefused(refused), expected(reason), error(GetLastError()), line(at) {
    SetLastError(ERROR_GEN_FAILURE);
  }
  bool isRefused;
  DWORD expected;
  DWORD error;
  int line;
};

TEST(Refusals, NameTheReason) {
  SECURITY_ATTRIBUTES attributes{};
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  STARTUPINFOW redirected = startup;
  redirected.dwFlags = 0x100;
  LARGE_INTEGER zero{};
  LARGE_INTEGER before{};
  before.QuadPart = -1;
  BYTE buffer[4] = {};
  WCHAR wide[4];
  char narrow[4];
  BOOL flag = FALSE;
  DWORD size = 99, needed = 0;
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  const HANDLE file =
      CreateFileW(kFile, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr);
  const HANDLE pipe = CreateNamedPipeW(TEXT("\\\\.\\pipe\\there"), PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1,
                                       0, 0, 0, nullptr);
  const HANDLE log = RegisterEventSourceW(nullptr, TEXT("Refusals"));
  const HANDLE events[] = {CreateEventW(nullptr, TRUE, TRUE, nullptr),
                           CreateEventW(nullptr, TRUE, TRUE, nullptr)};
  const HANDLE twice[] = {events[0], events[0]};
  const std::basic_string<WCHAR> tooLong(31840, u'x');
  const HANDLE self = GetCurrentProcess();
  const DWORD id = GetCurrentProcessId();
  constexpr DWORD kParameter = ERROR_INVALID_PARAMETER, kHandle = ERROR_INVALID_HANDLE;
  constexpr DWORD kRead = EVENTLOG_SEEK_READ | EVENTLOG_FORWARDS_READ;
  const HANDLE wrong = events[0];

  const std::vector<Case> cases = {
      {File(0, 0, 0), kParameter},
      {File(GENERIC_READ | 1, 0, 0), kParameter},
      {File(GENERIC_READ, 8, 0), kParameter},
      {File(GENERIC_READ, 0, 0x40000000), kParameter},
      {File(GENERIC_READ, 0, 0, file), kParameter},
      {File(GENERIC_READ, 0, 0, nullptr, &attributes), kParameter},
      {File(GENERIC_READ, 0, 0, nullptr, nullptr, 9), kParameter},
      {IsRefused(CreateFileW(nullptr, GENERIC_READ, 0, nullptr, 3, 0, nullptr)),
       ERROR_PATH_NOT_FOUND},
      {!SetFilePointerEx(file, zero, nullptr, FILE_END + 1), kParameter},
      {!SetFilePointerEx(file, before, nullptr, FILE_BEGIN), ERROR_NEGATIVE_SEEK},
      {!ReadFile(file, buffer, 1, &size, Something<OVERLAPPED>()), kParameter},
      {!CreateDirectoryW(TEXT("C:\\refused"), &attributes), kParameter},
      {!MoveFileExW(kFile, TEXT("C:\\other"), 2), kParameter},

      {Pipe(1, PIPE_WAIT, 1), kParameter},
      {Pipe(PIPE_ACCESS_DUPLEX, 4, 1), kParameter},
      {Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 2), kParameter},
      {Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, TEXT("\\\\.\\pipes\\x")), ERROR_INVALID_NAME},
      {Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, TEXT("\\\\.\\pipe\\")), ERROR_INVALID_NAME},
      {Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, TEXT("\\\\.\\pipe\\a\\b")), ERROR_INVALID_NAME},
      {Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, nullptr), ERROR_INVALID_NAME},
      {!ConnectNamedPipe(pipe, Something<OVERLAPPED>()), kParameter},
      {!CancelIoEx(pipe, Something<OVERLAPPED>()), kParameter},
      {!CancelIoEx(pipe, nullptr), ERROR_NOT_FOUND},

      {Start(nullptr, 0, &startup, nullptr, nullptr, nullptr, nullptr), kParameter},
      {Start(kFile, 0, nullptr, nullptr, nullptr, nullptr, nullptr), kParameter},
      {Start(kFile, 4, &startup, nullptr, nullptr, nullptr, nullptr), kParameter},
      {Start(kFile, 0, &redirected, nullptr, nullptr, nullptr, nullptr), kParameter},
      {Start(kFile, 0, &startup, &attributes, nullptr, nullptr, nullptr), kParameter},
      {Start(kFile, 0, &startup, nullptr, &attributes, nullptr, nullptr), kParameter},
      {Start(kFile, 0, &startup, nullptr, nullptr, buffer, nullptr), kParameter},
      {Start(kFile, 0, &startup, nullptr, nullptr, nullptr, TEXT("C:\\")), kParameter},
      {IsRefused(CreateToolhelp32Snapshot(1, 0)), kParameter},
      {IsRefused(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, id)), kParameter},
      {!SetConsoleCtrlHandler(nullptr, TRUE), kParameter},

      {IsRefused(CreateEventW(nullptr, TRUE, TRUE, TEXT("named"))), ERROR_NOT_SUPPORTED},
      {WaitForMultipleObjects(2, twice, TRUE, 0) == WAIT_FAILED, kParameter},

      {!ReadFile(wrong, buffer, 1, &size, nullptr), kHandle},
      {!WriteFile(wrong, buffer, 1, &size, nullptr), kHandle},
      {!FlushFileBuffers(wrong), kHandle},
      {!GetFileSizeEx(wrong, &zero), kHandle},
      {!SetFilePointerEx(wrong, zero, nullptr, FILE_BEGIN), kHandle},
      {!ConnectNamedPipe(wrong, nullptr), kHandle},
      {!DisconnectNamedPipe(wrong), kHandle},
      {!CancelIoEx(wrong, nullptr), kHandle},
      {!GetNamedPipeServerProcessId(wrong, &size), kHandle},
      {!GetExitCodeProcess(wrong, &size), kHandle},
      {!TerminateProcess(wrong, 0), kHandle},
      {!Process32NextW(wrong, &entry), kHandle},
      {!GetExitCodeThread(wrong, &size), kHandle},
      {!TerminateThread(wrong, 0), kHandle},
      {!SetEvent(log), kHandle},
      {!ResetEvent(log), kHandle},
      {!ReleaseMutex(wrong), kHandle},
      {WaitForSingleObject(log, 0) == WAIT_FAILED, kHandle},
      {!CloseHandle(nullptr), kHandle},
      {!DeregisterEventSource(wrong), kHandle},
      {Report(wrong, EVENTLOG_ERROR_TYPE, nullptr, 1, TEXT("x"), 0), kHandle},
      {!CloseEventLog(wrong), kHandle},
      {!GetNumberOfEventLogRecords(wrong, &size), kHandle},
      {!GetOldestEventLogRecord(wrong, &size), kHandle},
      {!ReadEventLogW(wrong, kRead, 1, buffer, sizeof buffer, &size, &needed), kHandle},
      {Dump(self, wrong, id, 0, false), kHandle},

      {Widen(1252, 8, "a", 1, wide, 4), ERROR_INVALID_FLAGS},
      {Widen(4711, 0, "a", 1, wide, 4), kParameter},
      {Widen(1252, 0, "a", 0, wide, 4), kParameter},
      {Widen(1252, 0, "a", -2, wide, 4), kParameter},
      {Widen(1252, 0, "a", 1, wide, -1), kParameter},
      {Widen(1252, 0, nullptr, 1, wide, 4), kParameter},
      {Widen(1252, 0, "a", 1, nullptr, 4), kParameter},
      {Widen(1252, 0, "abcde", 5, wide, 4), ERROR_INSUFFICIENT_BUFFER},
      {WideCharToMultiByte(1252, 0, TEXT("a"), 1, narrow, 4, "?", nullptr) == 0, kParameter},
      {WideCharToMultiByte(1252, 0, TEXT("a"), 1, narrow, 4, nullptr, &flag) == 0, kParameter},
      {!SetConsoleOutputCP(1252), kParameter},

      {Convert(nullptr, SDDL_REVISION_1), kParameter},
      {Convert(TEXT("D:"), 2), ERROR_UNKNOWN_REVISION},
      {Convert(TEXT("O:BA"), SDDL_REVISION_1), ERROR_INVALID_ACL},

      {IsRefused(RegisterEventSourceW(TEXT("other"), TEXT("Refusals"))), kParameter},
      {IsRefused(RegisterEventSourceW(nullptr, TEXT(""))), kParameter},
      {Report(log, 99, nullptr, 1, TEXT("x"), 0), kParameter},
      {Report(log, EVENTLOG_ERROR_TYPE, buffer, 1, TEXT("x"), 0), kParameter},
      {Report(log, EVENTLOG_ERROR_TYPE, nullptr, 2, TEXT("x"), 0), kParameter},
      {Report(log, EVENTLOG_ERROR_TYPE, nullptr, 1, nullptr, 0), kParameter},
      {Report(log, EVENTLOG_ERROR_TYPE, nullptr, 1, TEXT("x"), 4), kParameter},
      {Report(log, EVENTLOG_ERROR_TYPE, nullptr, 1, tooLong.c_str(), 0), kParameter},
      {IsRefused(OpenEventLogW(TEXT("other"), TEXT("System"))), kParameter},
      {IsRefused(OpenEventLogW(nullptr, nullptr)), kParameter},

      {LoadLibraryW(nullptr) == nullptr, kParameter},
      {LoadLibraryW(TEXT("")) == nullptr, kParameter},
      {!FreeLibrary(nullptr), ERROR_MOD_NOT_FOUND},
      {GetProcAddress(nullptr, "any") == nullptr, ERROR_MOD_NOT_FOUND},
      {GetModuleFileNameW(static_cast<HMODULE>(wrong), wide, 4) == 0, kParameter},
      {GetModuleFileNameW(nullptr, wide, 4) == 4 && wide[3] == 0, ERROR_INSUFFICIENT_BUFFER},
      {Dump(wrong, file, id, 0, false), ERROR_NOT_SUPPORTED},
      {Dump(self, file, id + 1, 0, false), ERROR_NOT_SUPPORTED},
      {Dump(self, file, id, 0x2, false), ERROR_NOT_SUPPORTED},
      {Dump(self, file, id, 0, true), ERROR_NOT_SUPPORTED},
      {Dump(self, file, id, 0, false), ERROR_WRITE_FAULT},
      {Format(0, 5), kParameter},
      {Format(FORMAT_MESSAGE_FROM_SYSTEM, 5), ERROR_INSUFFICIENT_BUFFER},
      {Format(FORMAT_MESSAGE_FROM_SYSTEM, 4711), ERROR_MR_MID_NOT_FOUND},
  };
  for (const Case& one : cases) {
    EXPECT_TRUE(one.isRefused) << "line " << one.line;
    EXPECT_EQ(one.error, one.expected) << "line " << one.line;
  }
  EXPECT_EQ(size, 0U) << "a call that fails counts no bytes";
  for (const auto& [path, mode, reason] :
       {std::tuple{"D:\\drive", "a", ENOENT}, {"C:\\mode", "w", EINVAL}}) {
    errno = 0;
    EXPECT_EQ(_fsopen(path, mode, _SH_DENYNO), nullptr) << path;
    EXPECT_EQ(errno, reason) << path;
  }
  for (const HANDLE handle : {file, pipe, events[0], events[1]}) CloseHandle(handle);
  DeregisterEventSource(log);
}

TEST(Refusals, OfTheRegistryAreReturned) {
  const HKEY root = HKEY_CURRENT_USER;
  const auto noKey = reinterpret_cast<HKEY>(std::intptr_t{0x1234});
  constexpr const WCHAR* kSub = TEXT("Refused");
  const std::basic_string<WCHAR> tooLong(256, u'x');
  HKEY key = nullptr;
  BYTE byte = 0;
  DWORD size = 1;
  ASSERT_EQ(RegCreateKeyExW(root, kSub, 0, nullptr, 0, KEY_QUERY_VALUE, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  HKEY writable = nullptr;
  ASSERT_EQ(RegOpenKeyExW(root, kSub, 0, KEY_SET_VALUE, &writable), ERROR_SUCCESS);
  HKEY ignored = nullptr;
  WCHAR className[] = {u'c', 0};
  const auto create = [&](HKEY parent, LPCWSTR name, DWORD reserved, LPWSTR ofClass, DWORD options,
                          PHKEY result) {
    return RegCreateKeyExW(parent, name, reserved, ofClass, options, KEY_READ, nullptr, result,
                           nullptr);
  };
  const std::pair<LSTATUS, LSTATUS> cases[] = {
      {RegOpenKeyExW(root, kSub, 1, KEY_READ, &ignored), ERROR_INVALID_PARAMETER},
      {RegOpenKeyExW(root, kSub, 0, KEY_READ, nullptr), ERROR_INVALID_PARAMETER},
      {RegOpenKeyExW(noKey, kSub, 0, KEY_READ, &ignored), ERROR_INVALID_HANDLE},
      {RegOpenKeyExW(root, tooLong.c_str(), 0, KEY_READ, &ignored), ERROR_INVALID_PARAMETER},
      {RegOpenKeyExW(root, tooLong.c_str() + 1, 0, KEY_READ, &ignored), ERROR_FILE_NOT_FOUND},
      {RegOpenKeyExW(root, (kSub + (u'\\' + tooLong)).c_str(), 0, KEY_READ, &ignored),
       ERROR_INVALID_PARAMETER},
      {RegOpenKeyExW(root, TEXT("\\Refused"), 0, KEY_READ, &ignored), ERROR_BAD_PATHNAME},
      {create(root, kSub, 1, nullptr, 0, &ignored), ERROR_INVALID_PARAMETER},
      {create(root, kSub, 0, className, 0, &ignored), ERROR_INVALID_PARAMETER},
      {create(root, kSub, 0, nullptr, 1, &ignored), ERROR_INVALID_PARAMETER},
      {create(root, kSub, 0, nullptr, 0, nullptr), ERROR_INVALID_PARAMETER},
      {create(root, nullptr, 0, nullptr, 0, &ignored), ERROR_BADKEY},
      {create(noKey, kSub, 0, nullptr, 0, &ignored), ERROR_INVALID_HANDLE},
      {create(root, tooLong.c_str(), 0, nullptr, 0, &ignored), ERROR_INVALID_PARAMETER},
      {RegQueryValueExW(key, kSub, &size, nullptr, nullptr, nullptr), ERROR_INVALID_PARAMETER},
      {RegQueryValueExW(key, kSub, nullptr, nullptr, &byte, nullptr), ERROR_INVALID_PARAMETER},
      {RegQueryValueExW(noKey, kSub, nullptr, nullptr, &byte, &size), ERROR_INVALID_HANDLE},
      {RegQueryValueExW(writable, kSub, nullptr, nullptr, &byte, &size), ERROR_ACCESS_DENIED},
      {RegSetValueExW(writable, kSub, 1, REG_BINARY, &byte, 1), ERROR_INVALID_PARAMETER},
      {RegSetValueExW(writable, kSub, 0, REG_BINARY, nullptr, 1), ERROR_NOACCESS},
      {RegSetValueExW(noKey, kSub, 0, REG_BINARY, &byte, 1), ERROR_INVALID_HANDLE},
      {RegSetValueExW(key, kSub, 0, REG_BINARY, &byte, 1), ERROR_ACCESS_DENIED},
      {RegDeleteValueW(noKey, kSub), ERROR_INVALID_HANDLE},
      {RegDeleteValueW(key, kSub), ERROR_ACCESS_DENIED},
      {RegDeleteKeyW(root, nullptr), ERROR_INVALID_PARAMETER},
      {RegDeleteKeyW(noKey, kSub), ERROR_INVALID_HANDLE},
      {RegDeleteKeyW(root, TEXT("")), ERROR_ACCESS_DENIED},
      {RegCloseKey(noKey), ERROR_INVALID_HANDLE},
      {RegCloseKey(root), ERROR_SUCCESS},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(cases[i].first, cases[i].second) << "case " << i;
  }
  RegCloseKey(key);
  RegCloseKey(writable);
  EXPECT_EQ(RegDeleteKeyW(root, kSub), ERROR_SUCCESS);
}

/// The sum over all texts: one that changes by accident is seen.
TEST(SystemErrors, HaveTheirTexts) {
  std::uint64_t sum = 0;
  int texts = 0;
  for (DWORD code = 0; code < 2000; ++code) {
    char text[256];
    const DWORD size =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, text, sizeof text, nullptr);
    texts += size > 0;
    for (DWORD i = 0; i < size; ++i) sum = sum * 31 + code + static_cast<BYTE>(text[i]);
  }
  EXPECT_EQ(texts, 52);
  EXPECT_EQ(sum, 12071423183069512815U);
}

}  // namespace
