#include "support/ofile.h"

#include "support/scoped_handle.h"

namespace {

constexpr DWORD kReportedAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                      FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                                      FILE_ATTRIBUTE_TEMPORARY;

/// A backslash at this index or before belongs to the root of the path; no folder can be created
/// there.
constexpr int kLastRootBackslash = 3;

bool MakeFolder(const OString& path) { return CreateDirectoryW(path.wstring(), nullptr) != FALSE; }

}  // namespace

DWORD OFile::GetAttributes(const OString& path) {
  const DWORD attributes = GetFileAttributesW(path.wstring());
  return attributes == INVALID_FILE_ATTRIBUTES ? attributes : attributes & kReportedAttributes;
}

bool OFile::Exists(const OString& path) {
  const ScopedHandle file(CreateFileW(path.wstring(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
  return file.IsValid();
}

bool OFile::CreateDirectoryPath(const OString& path) {
  if (MakeFolder(path) || GetLastError() == ERROR_ALREADY_EXISTS) return true;
  const int backslash = path.ReverseFind('\\');
  if (backslash <= kLastRootBackslash) return false;
  return CreateDirectoryPath(path.Left(backslash)) && MakeFolder(path);
}
