#include "platform/examined_library.h"

#include <filesystem>

#include "platform/windows_api.h"

namespace platform {
namespace {

/// Where something is in a library that is mapped as the loader would map it.
template <class Type>
const Type* At(HMODULE mapped, DWORD offset) {
  return reinterpret_cast<const Type*>(reinterpret_cast<const char*>(mapped) + offset);
}

const IMAGE_IMPORT_DESCRIPTOR* FirstImport(HMODULE mapped) {
  const DWORD headers = At<IMAGE_DOS_HEADER>(mapped, 0)->e_lfanew;
  const IMAGE_DATA_DIRECTORY& imports =
      At<IMAGE_NT_HEADERS>(mapped, headers)
          ->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.Size == 0) return nullptr;
  return At<IMAGE_IMPORT_DESCRIPTOR>(mapped, imports.VirtualAddress);
}

bool CanBeFound(const std::filesystem::path& folder, const char* name) {
  const HMODULE found = LoadLibraryExW((folder / name).c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
  const HMODULE known =
      found != nullptr ? found : LoadLibraryExA(name, nullptr, LOAD_LIBRARY_AS_DATAFILE);
  if (known != nullptr) FreeLibrary(known);
  return known != nullptr;
}

/// "a.dll, b.dll"; empty when there is another reason.
std::string MissingLibraries(const std::filesystem::path& path) {
  const HMODULE mapped = LoadLibraryExW(path.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
  if (mapped == nullptr) return {};
  std::string missing;
  const IMAGE_IMPORT_DESCRIPTOR* import = FirstImport(mapped);
  for (; import != nullptr && import->Name != 0; ++import) {
    const char* const name = At<char>(mapped, import->Name);
    if (CanBeFound(path.parent_path(), name)) continue;
    missing += (missing.empty() ? "" : ", ") + std::string(name);
  }
  FreeLibrary(mapped);
  return missing;
}

}  // namespace

ExaminedLibrary::ExaminedLibrary(const std::string& path) {
  std::error_code ignored;
  const std::filesystem::path whole =
      std::filesystem::absolute(std::filesystem::u8path(path), ignored);
  _loaded = LoadLibraryExW(whole.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (_loaded != nullptr) return;
  const DWORD error = GetLastError();
  const std::string missing = MissingLibraries(whole);
  _problem = missing.empty() ? "system error " + std::to_string(error)
                             : "it needs libraries that are not there: " + missing;
}

void* ExaminedLibrary::Function(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(_loaded), name));
}

}  // namespace platform
