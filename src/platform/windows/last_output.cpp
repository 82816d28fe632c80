#include "platform/last_output.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "platform/dump_library.h"

namespace platform {
namespace {

/// ASCII as UTF-16, cut to the array.
template <std::size_t kSize>
void Widen(std::string_view text, WCHAR (&wide)[kSize]) {
  const std::size_t count = std::min(text.size(), kSize - 1);
  std::transform(text.begin(), text.begin() + count, wide, [](char character) {
    const auto value = static_cast<unsigned char>(character);
    return static_cast<WCHAR>(value < 0x80 ? value : '?');
  });
  wide[count] = 0;
}

/// Writes in few calls, without a copy of the whole text.
void AppendLines(HANDLE file, std::string_view text) {
  DWORD written = 0;
  for (std::size_t end = text.find('\n'); end != text.npos; end = text.find('\n')) {
    WriteFile(file, text.data(), static_cast<DWORD>(end), &written, nullptr);
    WriteFile(file, "\r\n", 2, &written, nullptr);
    text.remove_prefix(end + 1);
  }
  WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

}  // namespace

struct LastOutput::Names {
  std::basic_string<WCHAR> eventSource;
  std::basic_string<WCHAR> textFile;
};

LastOutput::LastOutput(LPCWSTR eventSource, LPCWSTR textFile)
    : _names(new Names{eventSource, textFile}) {}

LastOutput::~LastOutput() = default;

void LastOutput::ReportError(DWORD eventId, std::string_view text, const void* data,
                             DWORD dataBytes) const {
  WCHAR wide[4096];
  Widen(text, wide);
  LPCWSTR strings[] = {wide};
  const HANDLE source = RegisterEventSourceW(nullptr, _names->eventSource.c_str());
  if (source == nullptr) return;
  ReportEventW(source, EVENTLOG_ERROR_TYPE, 0, eventId, nullptr, 1, dataBytes, strings,
               const_cast<void*>(data));
  DeregisterEventSource(source);
}

void LastOutput::AppendToFile(std::string_view text) const {
  const HANDLE file =
      CreateFileW(_names->textFile.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  nullptr, OPEN_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  AppendLines(file, text);
  CloseHandle(file);
}

struct LastDumpFolder::Names {
  std::basic_string<WCHAR> folder;
};

LastDumpFolder::LastDumpFolder(LPCWSTR path) : _names(new Names{path}) {}

LastDumpFolder::~LastDumpFolder() = default;

void LastDumpFolder::Create() const {
  const std::basic_string<WCHAR>& folder = _names->folder;
  WCHAR part[MAX_PATH] = {};
  for (std::size_t i = 0; i < folder.size() && i < std::size(part) - 1; ++i) {
    part[i] = folder[i];
    if (i + 1 == folder.size() || folder[i + 1] == '\\') CreateDirectoryW(part, nullptr);
  }
}

LastDumpFolder::Result LastDumpFolder::Write(const char* fileName, MINIDUMP_TYPE type,
                                             EXCEPTION_POINTERS* pointers) const {
  WCHAR path[2 * MAX_PATH];
  const std::size_t length = _names->folder.copy(path, MAX_PATH);
  path[length] = '\\';
  WCHAR name[MAX_PATH];
  Widen(fileName, name);
  *std::copy_n(name, std::char_traits<WCHAR>::length(name), path + length + 1) = 0;
  const HANDLE file =
      CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                  CREATE_NEW, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return GetLastError() == ERROR_FILE_EXISTS ? Result::kExists : Result::kFailed;
  }
  const HMODULE library = LoadLibraryW(TEXT("dbghelp.dll"));
  const auto writeDump = reinterpret_cast<decltype(&MiniDumpWriteDump)>(reinterpret_cast<void*>(
      library == nullptr ? nullptr : GetProcAddress(library, "MiniDumpWriteDump")));
  const BOOL isWritten = writeDump != nullptr && WriteDumpWith(writeDump, file, type, pointers);
  CloseHandle(file);
  return isWritten ? Result::kWritten : Result::kFailed;
}

}  // namespace platform
