#include "platform/process_arguments.h"

#include <shellapi.h>
#include <winternl.h>

namespace platform {
namespace {

// Known to the system since Windows 8.1; the toolchain's headers have no name for it.
constexpr auto kCommandLineInformation = static_cast<PROCESSINFOCLASS>(60);

// The command line follows its UNICODE_STRING in the buffer.
constexpr ULONG kBufferBytes = sizeof(UNICODE_STRING) + 65536;

using Query = NTSTATUS(NTAPI*)(HANDLE, PROCESSINFOCLASS, PVOID, ULONG, PULONG);

std::wstring CommandLineOf(HANDLE process) {
  const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationProcess")));
  std::vector<char> buffer(kBufferBytes);
  ULONG size = 0;
  if (query == nullptr ||
      query(process, kCommandLineInformation, buffer.data(), kBufferBytes, &size) < 0) {
    return {};
  }
  const auto* const text = reinterpret_cast<const UNICODE_STRING*>(buffer.data());
  return {text->Buffer, text->Length / sizeof(WCHAR)};
}

}  // namespace

std::vector<std::wstring> ProcessArguments(DWORD processId) {
  const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
  if (process == nullptr) return {};
  const std::wstring line = CommandLineOf(process);
  CloseHandle(process);
  if (line.empty()) return {};
  int count = 0;
  LPWSTR* const words = CommandLineToArgvW(line.c_str(), &count);
  std::vector<std::wstring> arguments(words, words + count);
  LocalFree(words);
  return arguments;
}

}  // namespace platform
