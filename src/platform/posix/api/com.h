/// COM initialisation: counted per thread, as the documentation describes; no COM objects.
#pragma once

#include "platform/posix/api/base.h"

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);
constexpr DWORD COINIT_APARTMENTTHREADED = 2;

/// S_OK for the thread's first initialisation; S_FALSE for a further one, which needs its own
/// CoUninitialize. E_INVALIDARG for another model than the one above.
HRESULT CoInitializeEx(LPVOID reserved, DWORD coInit);
void CoUninitialize();
