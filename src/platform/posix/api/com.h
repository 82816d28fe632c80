/// COM initialisation: counted per thread, as the documentation describes; no COM objects.
#pragma once

#include "platform/posix/api/base.h"

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT RPC_E_CHANGED_MODE = static_cast<HRESULT>(0x80010106U);
constexpr DWORD COINIT_APARTMENTTHREADED = 2;
constexpr DWORD COINIT_MULTITHREADED = 0;

HRESULT CoInitializeEx(LPVOID reserved, DWORD coInit);
void CoUninitialize();
