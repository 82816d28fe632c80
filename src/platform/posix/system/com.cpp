#include "platform/posix/api/com.h"

namespace {

struct Apartment {
  int initialisations = 0;
  DWORD model = 0;
};

thread_local Apartment t_apartment;

}  // namespace

HRESULT CoInitializeEx(LPVOID reserved, DWORD coInit) {
  if (reserved != nullptr || (coInit & ~COINIT_APARTMENTTHREADED) != 0) return E_INVALIDARG;
  const bool isFirst = t_apartment.initialisations == 0;
  if (!isFirst && t_apartment.model != coInit) return RPC_E_CHANGED_MODE;
  t_apartment.model = coInit;
  ++t_apartment.initialisations;
  return isFirst ? S_OK : S_FALSE;
}

void CoUninitialize() {
  if (t_apartment.initialisations > 0) --t_apartment.initialisations;
}
