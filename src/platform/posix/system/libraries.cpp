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
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/kernel/unique_fd.h"
#include "platform/posix/system/libraries_table.h"

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

// What programs look up at run time because older systems did not have it.
const SystemFunction kSystemFunctions[] = {
    {"dbghelp.dll", "MiniDumpWriteDump", Address(MiniDumpWriteDump)},
    {"kernel32.dll", "CancelIoEx", Address(CancelIoEx)},
    {"shell32.dll", "SHGetFolderPathW", Address(SHGetFolderPathW)},
};

struct Library {
  void* loaded = nullptr;  // dlopen's handle; null for a system library
  std::string path;        // of the file; of a system library its name in lower case
  int references = 0;
};

struct Libraries {
  std::mutex lock;
  // The address of the entry is the library's HMODULE, and stays what it is while the entry is
  // there.
  std::map<std::string, Library> byPath;
};

Libraries& Table() {
  static auto* const table = new Libraries;  // used until the very end of the process
  return *table;
}

HMODULE ModuleOf(Library& library) { return reinterpret_cast<HMODULE>(&library); }

auto Find(HMODULE module) {
  auto& entries = Table().byPath;
  auto entry = entries.begin();
  while (entry != entries.end() && ModuleOf(entry->second) != module) ++entry;
  return entry;
}

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

// The file's real path, or empty with errno set.
std::string Resolve(const std::string& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) != nullptr ? resolved : std::string();
}

std::string FindFile(const std::u16string& fileName) {
  if (IsBareName(fileName.c_str())) {
    const std::string program = platform::ProgramPath();
    const std::string folder = program.substr(0, program.rfind('/') + 1);
    std::string beside = Resolve(folder + platform::ToUtf8(fileName));
    if (!beside.empty()) return beside;
  }
  std::string path;
  return platform::ToNativePath(fileName.c_str(), path) ? Resolve(path) : std::string();
}

// A library for this system and machine that does not load misses something else.
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

HMODULE LoadFile(const std::u16string& fileName) {
  const std::string path = FindFile(fileName);
  if (path.empty()) {
    Fail(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  void* const loaded = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (loaded == nullptr) {
    Fail(WhyNotLoaded(path));
    return nullptr;
  }
  const std::lock_guard guard(Table().lock);
  return AddReference(path, loaded);
}

FARPROC FindSystemFunction(std::string_view library, std::string_view name) {
  for (const SystemFunction& function : kSystemFunctions) {
    if (function.library == library && function.name == name) return function.address;
  }
  return nullptr;
}

// Not what the library's own dependencies export, which dlsym finds as well.
FARPROC FindExport(void* loaded, LPCSTR name) {
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

bool IsOrdinal(LPCSTR procName) { return reinterpret_cast<std::uintptr_t>(procName) <= 0xFFFF; }

}  // namespace

namespace platform {

bool LibraryPath(HMODULE module, std::u16string& path) {
  const std::lock_guard guard(Table().lock);
  const auto entry = Find(module);
  if (entry == Table().byPath.end()) return false;
  const Library& library = entry->second;
  path = library.loaded != nullptr ? ToWindowsPath(library.path)
                                   : u"C:\\Windows\\system32\\" + ToUtf16(library.path);
  return true;
}

std::string ProgramPath() {
  char path[PATH_MAX];
  const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
  return size > 0 ? std::string(path, static_cast<std::size_t>(size)) : std::string();
}

}  // namespace platform

HMODULE LoadLibraryW(LPCWSTR fileName) {
  const KernelScope scope;
  if (fileName == nullptr || *fileName == 0) {
    Fail(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const std::u16string name = WithExtension(fileName);
  const std::string lowerName = LowerAscii(platform::ToUtf8(name));
  if (!IsSystemLibrary(lowerName)) return LoadFile(name);
  const std::lock_guard guard(Table().lock);
  return AddReference(lowerName, nullptr);
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
  if (loaded != nullptr) dlclose(loaded);
  return TRUE;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR procName) {
  const KernelScope scope;
  const std::lock_guard guard(Table().lock);
  const auto entry = Find(module);
  if (entry == Table().byPath.end()) {
    Fail(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  const Library& library = entry->second;
  FARPROC address = nullptr;
  if (!IsOrdinal(procName)) {
    address = library.loaded != nullptr ? FindExport(library.loaded, procName)
                                        : FindSystemFunction(library.path, procName);
  }
  if (address == nullptr) Fail(ERROR_PROC_NOT_FOUND);
  return address;
}
