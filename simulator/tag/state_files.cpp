#include "simulator/tag/state_files.h"

#include <stdexcept>

#include "platform/state_root.h"
#include "support/ofile.h"
#include "support/ostring.h"
#include "support/scoped_handle.h"
#include "support/secure_wipe.h"

namespace Simulator {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

[[noreturn]] void Fail(const char* step, const WideText& path) {
  const DWORD error = GetLastError();
  throw std::runtime_error(
      (OString("Cannot ") << step << " " << path.c_str() << ", error 0x" << FormatHex(error))
          .nstring());
}

ScopedHandle Open(const WideText& path, DWORD access, DWORD disposition) {
  return ScopedHandle(CreateFileW(path.c_str(), access, kShareAll, nullptr, disposition,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool WriteAll(HANDLE file, std::string_view text) {
  DWORD written = 0;
  const auto size = static_cast<DWORD>(text.size());
  return WriteFile(file, text.data(), size, &written, nullptr) && written == size;
}

bool WriteNewFile(const WideText& path, std::string_view text) {
  const ScopedHandle file = Open(path, GENERIC_WRITE, CREATE_ALWAYS);
  return file.IsValid() && WriteAll(file.Get(), text);
}

bool Seek(HANDLE file, LONGLONG distance, DWORD method) {
  LARGE_INTEGER offset{};
  offset.QuadPart = distance;
  return SetFilePointerEx(file, offset, nullptr, method);
}

/// Whether text that is appended begins a line.
bool EndsWithLine(HANDLE file) {
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(file, &size) || size.QuadPart == 0) return true;
  char last = 0;
  DWORD read = 0;
  return Seek(file, -1, FILE_END) && ReadFile(file, &last, 1, &read, nullptr) && last == '\n';
}

/// A name beside `path` that no other thread uses.
WideText TemporaryPath(const WideText& path) {
  const OString suffix = OString(".") << FormatHex(GetCurrentProcessId()) << "-"
                                      << FormatHex(GetCurrentThreadId()) << ".tmp";
  return path + suffix.wstring();
}

}  // namespace

WideText StateFilePath(std::string_view name) {
  const WideText folder = platform::StateRoot() + TEXT("\\simulator");
  OFile::CreateDirectoryPath(folder.c_str());
  return folder + TEXT("\\") + FromUtf8(name);
}

std::optional<std::string> ReadStateFile(const WideText& path) {
  const ScopedHandle file = Open(path, GENERIC_READ, OPEN_EXISTING);
  if (!file.IsValid()) {
    if (GetLastError() == ERROR_FILE_NOT_FOUND) return std::nullopt;
    Fail("open", path);
  }
  std::string text;
  // Room for all at once: a text that grows leaves pieces of what may be passwords behind.
  if (LARGE_INTEGER size{}; GetFileSizeEx(file.Get(), &size)) {
    text.reserve(static_cast<std::size_t>(size.QuadPart));
  }
  char piece[4096];
  DWORD read = 0;
  do {
    if (!ReadFile(file.Get(), piece, sizeof(piece), &read, nullptr)) Fail("read", path);
    text.append(piece, read);
  } while (read != 0);
  SecureWipe(piece, sizeof(piece));
  return text;
}

bool StateFileExists(const WideText& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void ReplaceStateFile(const WideText& path, std::string_view text) {
  const WideText temporary = TemporaryPath(path);
  if (WriteNewFile(temporary, text) &&
      MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    return;
  }
  const DWORD error = GetLastError();
  DeleteFileW(temporary.c_str());
  SetLastError(error);
  Fail("write", path);
}

bool AppendToStateFile(const WideText& path, std::string_view line, bool create) {
  const ScopedHandle file =
      Open(path, GENERIC_READ | GENERIC_WRITE, create ? OPEN_ALWAYS : OPEN_EXISTING);
  if (!file.IsValid()) return false;
  const bool mend = !EndsWithLine(file.Get());
  return Seek(file.Get(), 0, FILE_END) && (!mend || WriteAll(file.Get(), "\n")) &&
         WriteAll(file.Get(), line);
}

}  // namespace Simulator
