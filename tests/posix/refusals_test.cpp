/// What the layer does not provide, it refuses at once, with the system error that tells why.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

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

bool Dump(HANDLE process, DWORD id, DWORD type, bool withStreams) {
  return !MiniDumpWriteDump(process, id, nullptr, static_cast<MINIDUMP_TYPE>(type), nullptr,
                            withStreams ? Something<MINIDUMP_USER_STREAM_INFORMATION>() : nullptr,
                            nullptr);
}

struct Case {
  int line;
  DWORD error;
  std::function<bool()> isRefused;
};

TEST(Refusals, NameTheReason) {
  SECURITY_ATTRIBUTES attributes{};
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  STARTUPINFOW redirected = startup;
  redirected.dwFlags = 0x100;
  LARGE_INTEGER zero{};
  BYTE buffer[4] = {};
  WCHAR wide[4];
  char narrow[4];
  BOOL flag = FALSE;
  DWORD size = 0;
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
  constexpr DWORD kParameter = ERROR_INVALID_PARAMETER;

  const Case cases[] = {
      {__LINE__, kParameter, [&] { return File(0, 0, 0); }},
      {__LINE__, kParameter, [&] { return File(GENERIC_READ | 1, 0, 0); }},
      {__LINE__, kParameter, [&] { return File(GENERIC_READ, 8, 0); }},
      {__LINE__, kParameter, [&] { return File(GENERIC_READ, 0, 0x40000000); }},
      {__LINE__, kParameter, [&] { return File(GENERIC_READ, 0, 0, file); }},
      {__LINE__, kParameter, [&] { return File(GENERIC_READ, 0, 0, nullptr, &attributes); }},
      {__LINE__, kParameter, [&] { return File(GENERIC_READ, 0, 0, nullptr, nullptr, 9); }},
      {__LINE__, ERROR_PATH_NOT_FOUND,
       [&] { return IsRefused(CreateFileW(nullptr, GENERIC_READ, 0, nullptr, 3, 0, nullptr)); }},
      {__LINE__, kParameter, [&] { return !SetFilePointerEx(file, zero, nullptr, FILE_END + 1); }},
      {__LINE__, ERROR_NEGATIVE_SEEK,
       [&] {
         LARGE_INTEGER before{};
         before.QuadPart = -1;
         return !SetFilePointerEx(file, before, nullptr, FILE_BEGIN);
       }},
      {__LINE__, kParameter,
       [&] { return !ReadFile(file, buffer, 1, &size, Something<OVERLAPPED>()); }},
      {__LINE__, ERROR_INVALID_HANDLE,
       [&] { return !ReadFile(events[0], buffer, 1, &size, nullptr); }},
      {__LINE__, ERROR_INVALID_HANDLE, [&] { return !GetFileSizeEx(events[0], &zero); }},
      {__LINE__, kParameter, [&] { return !CreateDirectoryW(TEXT("C:\\refused"), &attributes); }},
      {__LINE__, kParameter, [&] { return !MoveFileExW(kFile, TEXT("C:\\other"), 2); }},

      {__LINE__, kParameter, [&] { return Pipe(1, PIPE_WAIT, 1); }},
      {__LINE__, kParameter, [&] { return Pipe(PIPE_ACCESS_DUPLEX, 4, 1); }},
      {__LINE__, kParameter, [&] { return Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 2); }},
      {__LINE__, ERROR_INVALID_NAME,
       [&] { return Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, TEXT("\\\\.\\pipes\\x")); }},
      {__LINE__, ERROR_INVALID_NAME,
       [&] { return Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, TEXT("\\\\.\\pipe\\")); }},
      {__LINE__, ERROR_INVALID_NAME,
       [&] { return Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, TEXT("\\\\.\\pipe\\a\\b")); }},
      {__LINE__, ERROR_INVALID_NAME,
       [&] { return Pipe(PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, nullptr); }},
      {__LINE__, kParameter, [&] { return !ConnectNamedPipe(pipe, Something<OVERLAPPED>()); }},
      {__LINE__, ERROR_INVALID_HANDLE, [&] { return !ConnectNamedPipe(file, nullptr); }},
      {__LINE__, kParameter, [&] { return !CancelIoEx(pipe, Something<OVERLAPPED>()); }},
      {__LINE__, ERROR_NOT_FOUND, [&] { return !CancelIoEx(pipe, nullptr); }},

      {__LINE__, kParameter,
       [&] { return Start(nullptr, 0, &startup, nullptr, nullptr, nullptr, nullptr); }},
      {__LINE__, kParameter,
       [&] { return Start(kFile, 0, nullptr, nullptr, nullptr, nullptr, nullptr); }},
      {__LINE__, kParameter,
       [&] { return Start(kFile, 4, &startup, nullptr, nullptr, nullptr, nullptr); }},
      {__LINE__, kParameter,
       [&] { return Start(kFile, 0, &redirected, nullptr, nullptr, nullptr, nullptr); }},
      {__LINE__, kParameter,
       [&] { return Start(kFile, 0, &startup, &attributes, nullptr, nullptr, nullptr); }},
      {__LINE__, kParameter,
       [&] { return Start(kFile, 0, &startup, nullptr, &attributes, nullptr, nullptr); }},
      {__LINE__, kParameter,
       [&] { return Start(kFile, 0, &startup, nullptr, nullptr, buffer, nullptr); }},
      {__LINE__, kParameter,
       [&] { return Start(kFile, 0, &startup, nullptr, nullptr, nullptr, TEXT("C:\\")); }},
      {__LINE__, kParameter, [&] { return IsRefused(CreateToolhelp32Snapshot(1, 0)); }},
      {__LINE__, kParameter,
       [&] { return IsRefused(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, id)); }},
      {__LINE__, kParameter, [&] { return !SetConsoleCtrlHandler(nullptr, TRUE); }},

      {__LINE__, ERROR_NOT_SUPPORTED,
       [&] { return IsRefused(CreateEventW(nullptr, TRUE, TRUE, TEXT("named"))); }},
      {__LINE__, kParameter,
       [&] { return WaitForMultipleObjects(2, twice, TRUE, 0) == WAIT_FAILED; }},
      {__LINE__, ERROR_INVALID_HANDLE, [&] { return !CloseHandle(nullptr); }},

      {__LINE__, ERROR_INVALID_FLAGS,
       [&] { return MultiByteToWideChar(1252, 8, "a", 1, wide, 4) == 0; }},
      {__LINE__, kParameter, [&] { return MultiByteToWideChar(4711, 0, "a", 1, wide, 4) == 0; }},
      {__LINE__, kParameter, [&] { return MultiByteToWideChar(1252, 0, "a", 0, wide, 4) == 0; }},
      {__LINE__, kParameter, [&] { return MultiByteToWideChar(1252, 0, "a", -2, wide, 4) == 0; }},
      {__LINE__, kParameter, [&] { return MultiByteToWideChar(1252, 0, "a", 1, wide, -1) == 0; }},
      {__LINE__, kParameter,
       [&] { return MultiByteToWideChar(1252, 0, nullptr, 1, wide, 4) == 0; }},
      {__LINE__, kParameter, [&] { return MultiByteToWideChar(1252, 0, "a", 1, nullptr, 4) == 0; }},
      {__LINE__, ERROR_INSUFFICIENT_BUFFER,
       [&] { return MultiByteToWideChar(1252, 0, "abcde", 5, wide, 4) == 0; }},
      {__LINE__, kParameter,
       [&] { return WideCharToMultiByte(1252, 0, TEXT("a"), 1, narrow, 4, "?", nullptr) == 0; }},
      {__LINE__, kParameter,
       [&] { return WideCharToMultiByte(1252, 0, TEXT("a"), 1, narrow, 4, nullptr, &flag) == 0; }},
      {__LINE__, kParameter, [&] { return !SetConsoleOutputCP(1252); }},

      {__LINE__, kParameter, [&] { return Convert(nullptr, SDDL_REVISION_1); }},
      {__LINE__, ERROR_UNKNOWN_REVISION, [&] { return Convert(TEXT("D:"), 2); }},
      {__LINE__, ERROR_INVALID_ACL, [&] { return Convert(TEXT("O:BA"), SDDL_REVISION_1); }},

      {__LINE__, kParameter,
       [&] { return IsRefused(RegisterEventSourceW(TEXT("other"), TEXT("Refusals"))); }},
      {__LINE__, kParameter, [&] { return IsRefused(RegisterEventSourceW(nullptr, TEXT(""))); }},
      {__LINE__, kParameter, [&] { return Report(log, 99, nullptr, 1, TEXT("x"), 0); }},
      {__LINE__, kParameter,
       [&] { return Report(log, EVENTLOG_ERROR_TYPE, buffer, 1, TEXT("x"), 0); }},
      {__LINE__, kParameter,
       [&] { return Report(log, EVENTLOG_ERROR_TYPE, nullptr, 2, TEXT("x"), 0); }},
      {__LINE__, kParameter,
       [&] { return Report(log, EVENTLOG_ERROR_TYPE, nullptr, 1, nullptr, 0); }},
      {__LINE__, kParameter,
       [&] { return Report(log, EVENTLOG_ERROR_TYPE, nullptr, 1, TEXT("x"), 4); }},
      {__LINE__, kParameter,
       [&] { return Report(log, EVENTLOG_ERROR_TYPE, nullptr, 1, tooLong.c_str(), 0); }},
      {__LINE__, ERROR_INVALID_HANDLE, [&] { return !DeregisterEventSource(file); }},
      {__LINE__, kParameter,
       [&] { return IsRefused(OpenEventLogW(TEXT("other"), TEXT("System"))); }},
      {__LINE__, kParameter, [&] { return IsRefused(OpenEventLogW(nullptr, nullptr)); }},

      {__LINE__, kParameter, [&] { return LoadLibraryW(nullptr) == nullptr; }},
      {__LINE__, kParameter, [&] { return LoadLibraryW(TEXT("")) == nullptr; }},
      {__LINE__, ERROR_MOD_NOT_FOUND, [&] { return !FreeLibrary(nullptr); }},
      {__LINE__, ERROR_NOT_SUPPORTED, [&] { return Dump(events[0], id, 0, false); }},
      {__LINE__, ERROR_NOT_SUPPORTED, [&] { return Dump(self, id + 1, 0, false); }},
      {__LINE__, ERROR_NOT_SUPPORTED, [&] { return Dump(self, id, 0x2, false); }},
      {__LINE__, ERROR_NOT_SUPPORTED, [&] { return Dump(self, id, 0, true); }},
      {__LINE__, ERROR_INVALID_HANDLE, [&] { return Dump(self, id, 0, false); }},
      {__LINE__, kParameter,
       [&] { return FormatMessageA(0, nullptr, 5, 0, narrow, 4, nullptr) == 0; }},
      {__LINE__, ERROR_INSUFFICIENT_BUFFER,
       [&] {
         return FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, narrow, 4, nullptr) == 0;
       }},
      {__LINE__, ERROR_MR_MID_NOT_FOUND,
       [&] {
         return FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 4711, 0, narrow, 4, nullptr) ==
                0;
       }},
  };
  for (const Case& one : cases) {
    SetLastError(ERROR_GEN_FAILURE);
    EXPECT_TRUE(one.isRefused()) << "line " << one.line;
    EXPECT_EQ(GetLastError(), one.error) << "line " << one.line;
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
