#include "platform/examined_library.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>

namespace platform {

ExaminedLibrary::ExaminedLibrary(const std::string& path) {
  std::error_code error;
  const std::filesystem::path whole = std::filesystem::absolute(path, error);
  _loaded = dlopen(whole.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (_loaded != nullptr) return;
  _problem = dlerror();
  // What is wrong with the library itself begins with its path, which the caller knows.
  const std::string prefix = whole.string() + ": ";
  if (_problem.starts_with(prefix)) _problem.erase(0, prefix.size());
}

void* ExaminedLibrary::Function(const char* name) const {
  void* const symbol = dlsym(_loaded, name);
  link_map* own = nullptr;
  link_map* owner = nullptr;
  Dl_info ignored{};
  const bool isOwn =
      symbol != nullptr && dlinfo(_loaded, RTLD_DI_LINKMAP, &own) == 0 &&
      dladdr1(symbol, &ignored, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) != 0 &&
      own == owner;
  return isOwn ? symbol : nullptr;
}

}  // namespace platform
