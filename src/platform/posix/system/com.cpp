#include "platform/posix/api/com.h"

namespace {

thread_local int t_initialisations = 0;

}  // namespace

HRESULT CoInitializeEx(LPVOID reserved, DWORD coInit) {
  if (reserved != nullptr || coInit != COINIT_APARTMENTTHREADED) return E_INVALIDARG;
  return t_initialisations++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
  if (t_initialisations > 0) --t_initialisations;
}
