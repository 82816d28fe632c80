/// COM initialisation of the program's own threads.
#pragma once

#include "platform/windows_api.h"
#include "support/log.h"
#include "support/ostring.h"

/// Enters a single-threaded apartment. Anything but S_OK is logged as the error `intro` +
/// "coInitResult = " + the result in hexadecimal; the thread goes on either way. `intro` is called
/// only when the line is written. The caller balances it with CoUninitialize.
template <class Intro>
void InitializeApartment(Intro&& intro) {
  const HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (result == S_OK) return;
  Log::Error([&] {
    return OString(intro()) << "coInitResult = " << FormatHex(static_cast<DWORD>(result));
  });
}
