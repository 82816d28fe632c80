#include "sdk/component_library.h"

#include <memory>
#include <type_traits>

#include "sdk/component_guard.h"
#include "support/ostring.h"
#include "support/process_utility.h"

namespace Tagwright {
namespace {

OString ComponentPath() {
  return OString(ProcessUtility::GetCurrentModuleDirectory()) << "\\"
                                                              << "Tagwright.Managed.dll";
}

[[noreturn]] void Fail(const OString& path, const OString& reason) {
  throw ComponentLoadError(
      (OString("Cannot use the component ") << path << ": " << reason).nstring());
}

OString SystemReason(const char* step, DWORD error) {
  return OString(step) << " failed, error 0x" << FormatHex(error);
}

struct LibraryCloser {
  void operator()(HMODULE module) const { FreeLibrary(module); }
};
using Library = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryCloser>;

TagwrightGetInterface FindEntry(HMODULE module, const OString& path) {
  const FARPROC entry = GetProcAddress(module, TAGWRIGHT_COMPONENT_ENTRY);
  if (entry == nullptr) {
    Fail(path, SystemReason("GetProcAddress of " TAGWRIGHT_COMPONENT_ENTRY, GetLastError()));
  }
  return reinterpret_cast<TagwrightGetInterface>(entry);
}

const TagwrightComponentInterface& LoadComponent() {
  const OString path = ComponentPath();
  Library library(LoadLibraryW(path.wstring()));
  if (library == nullptr) Fail(path, SystemReason("LoadLibrary", GetLastError()));
  const TagwrightGetInterface getInterface = FindEntry(library.get(), path);
  const TagwrightComponentInterface* component = nullptr;
  GuardComponentCall([&] { component = getInterface(kTagwrightComponentVersion); });
  if (component == nullptr) Fail(path, "it does not know the interface version asked for");
  if (component->version != kTagwrightComponentVersion) {
    Fail(path, "it answered with another interface version");
  }
  if (component->size < sizeof(TagwrightComponentInterface)) {
    Fail(path, "its interface table is too short");
  }
  library.release();
  return *component;
}

}  // namespace

const TagwrightComponentInterface& Component() {
  static const TagwrightComponentInterface& component = LoadComponent();
  return component;
}

}  // namespace Tagwright
