/// COM initialisation: counted per thread, as the documentation describes; no COM objects.
#pragma once

#include "platform/posix/api/base.h"

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);
constexpr HRESULT RPC_E_CHANGED_MODE = static_cast<HRESULT>(0x80010106U);
constexpr DWORD COINIT_APARTMENTTHREADED = 2;
constexpr DWORD COINIT_MULTITHREADED = 0;

/// S_OK for the thread's first initialisation; S_FALSE for a further one with the same model, which
/// needs its own CoUninitialize; RPC_E_CHANGED_MODE for another model, which does not. The two
/// models above only: E_INVALIDARG otherwise.
HRESULT CoInitializeEx(LPVOID reserved, DWORD coInit);
void CoUninitialize();
