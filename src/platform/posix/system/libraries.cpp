#include "platform/posix/api/libraries.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <string_view>

#include "platform/posix/api/crash_dumps.h"
#include "platform/posix/api/errors.h"
#include "platform/posix/api/files.h"
#include "platform/posix/api/pipes.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/no_throw_scope.h"
#include "platform/posix/kernel/program_path.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/kernel/unique_fd.h"

using platform::Fail;
using platform::KernelScope;
using platform::UniqueFd;

namespace {

struct SystemFunction {
  std::string_view library;  // in lower case
  std::string_view name;
  FARPROC address;
};

template <class Function>
FARPROC Address(Function* function) {
  return reinterpret_cast<FARPROC>(function);
}

/// What programs look up at run time because older systems do not have it.
const SystemFunction kSystemFunctions[] = {
    {"dbghelp.dll", "MiniDumpWriteDump", Address(MiniDumpWriteDump)},
    {"kernel32.dll", "CancelIoEx", Address(CancelIoEx)},
    {"shell32.dll", "SHGetFolderPathW", Address(SHGetFolderPathW)},
};

struct Library {
  void* loaded = nullptr;  // From dlopen; null for a system library
  std::string path;        // of the file; of a system library its name in lower case
  int references = 0;
};

struct Libraries {
  std::mutex lock;
  // The address of an entry is the library's HMODULE; it does not change while the entry exists.
  std::map<std::string, Library> byPath;
};

Libraries& Table() {
  static auto* const table = new Libraries;  // Used until the very end of the process
  return *table;
}

HMODULE ModuleOf(Library& library) { return reinterpret_cast<HMODULE>(&library); }

auto Find(HMODULE module) {
  auto& entries = Table().byPath;
  auto entry = entries.begin();
  while (entry != entries.end() && ModuleOf(entry->second) != module) ++entry;
  return entry;
}

/// False when `module` is none.
bool Lookup(HMODULE module, Library& library) {
  const std::lock_guard guard(Table().lock);
  const auto entry = Find(module);
  if (entry == Table().byPath.end()) return false;
  library = entry->second;
  return true;
}

/// Called with the table's lock held.
HMODULE AddReference(const std::string& path, void* loaded) {
  Library& library = Table().byPath[path];
  library.loaded = loaded;
  library.path = path;
  ++library.references;
  return ModuleOf(library);
}

std::string LowerAscii(std::string text) {
  for (char& byte : text) byte = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
  return text;
}

bool IsSystemLibrary(const std::string& lowerName) {
  for (const SystemFunction& function : kSystemFunctions) {
    if (function.library == lowerName) return true;
  }
  return false;
}

bool IsBareName(LPCWSTR fileName) {
  return std::u16string_view(fileName).find_first_of(u"\\/:") == std::u16string_view::npos;
}

std::u16string WithExtension(LPCWSTR fileName) {
  std::u16string name(fileName);
  const std::size_t start = name.find_last_of(u"\\/:");
  const std::size_t dot = name.rfind(u'.');
  const bool hasExtension =
      dot != std::u16string::npos && (start == std::u16string::npos || dot > start);
  return hasExtension ? name : name + u".dll";
}

/// The file's real path, or empty with errno set.
std::string Resolve(const std::string& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) != nullptr ? resolved : std::string();
}

std::string FindFile(const std::u16string& fileName) {
  if (IsBareName(fileName.c_str())) {
    return Resolve(platform::BesideProgram(platform::ToUtf8(fileName)));
  }
  std::string path;
  return platform::NativePathOf(fileName.c_str(), path) == 0 ? Resolve(path) : std::string();
}

/// A file that is a library for this system and machine did not load because it needs another file.
DWORD WhyNotLoaded(const std::string& path) {
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  ElfW(Ehdr) header{};
  const bool isLibrary =
      read(file.Get(), &header, sizeof header) == sizeof header &&
      std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
      header.e_ident[EI_CLASS] == (sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32) &&
      header.e_type == ET_DYN;
  return isLibrary ? ERROR_MOD_NOT_FOUND : ERROR_BAD_EXE_FORMAT;
}

/// The library's own start-up code runs in it, which may do anything and take any time: a thread is
/// terminated in it like in any code of the program. What it throws, or a crash in it, ends the
/// process: the loader's lock would stay held, and every job to come would wait for it.
void* Open(const std::string& path) noexcept {
  const platform::KernelPause pause;
  const platform::NoThrowScope scope;
  return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void Close(void* loaded) noexcept {
  const platform::KernelPause pause;
  const platform::NoThrowScope scope;
  dlclose(loaded);
}

DWORD LoadFile(const std::u16string& fileName, HMODULE& module) {
  const std::string path = FindFile(fileName);
  if (path.empty()) return ERROR_MOD_NOT_FOUND;
  void* const loaded = Open(path);
  if (loaded == nullptr) return WhyNotLoaded(path);
  const std::lock_guard guard(Table().lock);
  module = AddReference(path, loaded);
  return ERROR_SUCCESS;
}

DWORD LoadNamed(LPCWSTR fileName, HMODULE& module) {
  if (fileName == nullptr || *fileName == 0) return ERROR_INVALID_PARAMETER;
  const std::u16string name = WithExtension(fileName);
  const std::string lowerName = LowerAscii(platform::ToUtf8(name));
  if (!IsSystemLibrary(lowerName)) return LoadFile(name, module);
  const std::lock_guard guard(Table().lock);
  module = AddReference(lowerName, nullptr);
  return ERROR_SUCCESS;
}

FARPROC FindSystemFunction(std::string_view library, std::string_view name) {
  for (const SystemFunction& function : kSystemFunctions) {
    if (function.library == library && function.name == name) return function.address;
  }
  return nullptr;
}

/// Leaves out what the library's own dependencies export, which dlsym finds as well. Outside the
/// layer, because it waits for whoever holds the loader's lock.
FARPROC FindExport(void* loaded, LPCSTR name) {
  const platform::KernelPause pause;
  void* const symbol = dlsym(loaded, name);
  link_map* own = nullptr;
  link_map* owner = nullptr;
  Dl_info ignored{};
  if (symbol == nullptr || dlinfo(loaded, RTLD_DI_LINKMAP, &own) != 0 ||
      dladdr1(symbol, &ignored, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) == 0) {
    return nullptr;
  }
  return own == owner ? reinterpret_cast<FARPROC>(symbol) : nullptr;
}

FARPROC FindFunction(const Library& library, LPCSTR name) {
  return library.loaded != nullptr ? FindExport(library.loaded, name)
                                   : FindSystemFunction(library.path, name);
}

bool IsOrdinal(LPCSTR procName) { return reinterpret_cast<std::uintptr_t>(procName) <= 0xFFFF; }

}  // namespace

HMODULE LoadLibraryW(LPCWSTR fileName) {
  const KernelScope scope;
  HMODULE module = nullptr;
  const DWORD error = LoadNamed(fileName, module);
  if (error != ERROR_SUCCESS) Fail(error);
  return module;
}

BOOL FreeLibrary(HMODULE module) {
  const KernelScope scope;
  void* loaded = nullptr;
  {
    const std::lock_guard guard(Table().lock);
    const auto entry = Find(module);
    if (entry == Table().byPath.end()) return Fail(ERROR_MOD_NOT_FOUND);
    loaded = entry->second.loaded;
    if (--entry->second.references == 0) Table().byPath.erase(entry);
  }
  if (loaded != nullptr) Close(loaded);
  return TRUE;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR procName) {
  const KernelScope scope;
  Library library;
  if (!Lookup(module, library)) {
    Fail(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  const FARPROC address = IsOrdinal(procName) ? nullptr : FindFunction(library, procName);
  if (address == nullptr) Fail(ERROR_PROC_NOT_FOUND);
  return address;
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD sizeChars) {
  const KernelScope scope;
  if (module != nullptr) {
    Fail(ERROR_INVALID_PARAMETER);
    return 0;
  }
  static const auto* const ownPath =
      new std::u16string(platform::ToWindowsPath(platform::ProgramPath()));
  const std::u16string& path = *ownPath;
  const bool fits = path.size() < sizeChars;
  if (sizeChars > 0) {
    buffer[path.copy(buffer, sizeChars - 1)] = 0;
  }
  SetLastError(fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
  return fits ? static_cast<DWORD>(path.size()) : sizeChars;
}
