#include "support/mini_dump_writer.h"

#include "platform/dump_library.h"
#include "support/ofile.h"
#include "support/oregistry.h"
#include "support/osynchronizer.h"
#include "support/scoped_handle.h"

namespace {

constexpr char kLibraryValue[] = "LOCAL_MACHINE:Software/Brennick/Drivers/Debug/dbghelp";

constexpr char kSystemLibrary[] = "dbghelp.dll";

/// How long one dump may keep the next one waiting; then both are at work.
constexpr DWORD kMaxDumpTimeMs = 60000;

using MiniDumpWriteDumpFunction = decltype(&MiniDumpWriteDump);
using SHGetFolderPathWFunction = decltype(&SHGetFolderPathW);

/// The file of the library to load first: the configured one, else the system's.
OString LibraryFileName() {
  const OString configured = ORegistry().GetString(kLibraryValue, "");
  return configured.IsEmpty() ? OString(kSystemLibrary) : configured;
}

/// Empty when there is none.
OString CommonAppDataFolder() {
  const ScopedLibrary shell(TEXT("Shell32.dll"));
  const auto getFolderPath = shell.Function<SHGetFolderPathWFunction>("SHGetFolderPathW");
  WCHAR folder[MAX_PATH] = {};
  if (getFolderPath == nullptr || getFolderPath(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE,
                                                nullptr, 0, folder) != S_OK) {
    return OString();
  }
  return OString(folder);
}

/// Creates the folder of dumps; empty on failure.
OString DumpFolder() {
  const OString folder = DumpFolderPath();
  return OFile::CreateDirectoryPath(folder) ? folder : OString();
}

/// Empty when all names are taken.
OString FreeFileName(const OString& folder) {
  for (int number = 0; number < kMaxDumpFiles; ++number) {
    OString digits(static_cast<DWORD>(number));
    digits.PadLeft(kDumpNumberDigits, '0');
    OString fileName = folder;
    fileName << "\\" << kDumpFilePrefix << digits << kDumpFileEnding;
    if (!OFile::Exists(fileName)) return fileName;
  }
  return OString();
}

ScopedHandle CreateDumpFile(OString& fileName) {
  const OString folder = DumpFolder();
  if (folder.IsEmpty()) return ScopedHandle();
  const OString freeName = FreeFileName(folder);
  if (freeName.IsEmpty()) return ScopedHandle();
  ScopedHandle file(CreateFileW(freeName.wstring(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS, 0,
                                nullptr));
  if (file.IsValid()) fileName = freeName;
  return file;
}

bool WriteWith(const ScopedLibrary& library, EXCEPTION_POINTERS* pointers, OString& fileName) {
  const auto writeDump = library.Function<MiniDumpWriteDumpFunction>("MiniDumpWriteDump");
  if (writeDump == nullptr) return false;
  OMutex turns("Brennick_MiniDump_Mutex", kMaxDumpTimeMs);
  const OAutoLock turn(turns);
  const ScopedHandle file = CreateDumpFile(fileName);
  if (!file.IsValid()) return false;
  return platform::WriteDumpWith(writeDump, file.Get(), kDumpType, pointers) != FALSE;
}

}  // namespace

OString DumpFolderPath() {
  OString folder = CommonAppDataFolder();
  if (!folder.IsEmpty()) folder << "\\Brennick\\Drivers\\Dump";
  return folder;
}

bool WriteMiniDumpFile(EXCEPTION_POINTERS* pointers, OString& fileName) {
  const ScopedLibrary configured(LibraryFileName().wstring());
  if (configured.IsValid()) return WriteWith(configured, pointers, fileName);
  return WriteWith(ScopedLibrary(OString(kSystemLibrary).wstring()), pointers, fileName);
}
