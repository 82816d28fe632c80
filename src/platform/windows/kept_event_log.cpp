#include "platform/kept_event_log.h"

#include "platform/windows_api.h"

namespace platform {

bool KeepsEventLog() {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return GetProcAddress(ntdll, "wine_get_version") == nullptr;
}

}  // namespace platform
