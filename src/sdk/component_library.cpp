#include "sdk/component_library.h"

#include "support/crash_guard.h"
#include "support/ostring.h"
#include "support/process_utility.h"
#include "support/scoped_handle.h"

namespace Tagwright {
namespace {

OString ComponentPath() {
  return OString(ProcessUtility::GetCurrentModuleDirectory()) << "\\" << kComponentFileName;
}

[[noreturn]] void Fail(const OString& path, const OString& reason) {
  throw ComponentLoadError(
      (OString("Cannot use the component ") << path << ": " << reason).nstring());
}

OString SystemReason(const char* step, DWORD error) {
  return OString(step) << " failed, error 0x" << FormatHex(error);
}

TagwrightGetInterface FindEntry(const ScopedLibrary& library, const OString& path) {
  const auto entry = library.Function<TagwrightGetInterface>(TAGWRIGHT_COMPONENT_ENTRY);
  if (entry != nullptr) return entry;
  Fail(path, SystemReason("GetProcAddress of " TAGWRIGHT_COMPONENT_ENTRY, GetLastError()));
}

const TagwrightComponentInterface& LoadComponent() {
  const OString path = ComponentPath();
  ScopedLibrary library(path.wstring());
  if (!library.IsValid()) Fail(path, SystemReason("LoadLibrary", GetLastError()));
  const TagwrightGetInterface getInterface = FindEntry(library, path);
  const TagwrightComponentInterface* component = nullptr;
  GuardCrashes([&] { component = getInterface(kTagwrightComponentVersion); });
  if (component == nullptr) Fail(path, "it does not know the interface version asked for");
  if (component->version != kTagwrightComponentVersion) {
    Fail(path, "it answered with another interface version");
  }
  if (component->size < sizeof(TagwrightComponentInterface)) {
    Fail(path, "its interface table is too short");
  }
  library.Release();
  return *component;
}

}  // namespace

const TagwrightComponentInterface& Component() {
  static const TagwrightComponentInterface& component = LoadComponent();
  return component;
}

}  // namespace Tagwright
