/// The one loop that moves exactly so many bytes over a pipe, in either direction. Shared by the
/// servers, the client library and the tests.
#pragma once

#include "platform/windows_api.h"

namespace Tagwright {

/// Moves `sizeBytes` bytes from or to `bytes`, in as many pieces as it takes. `transfer(piece,
/// length, done)` moves up to `length` bytes, stores how many in `done`, and returns a system
/// error, ERROR_SUCCESS when there is none. Returns ERROR_SUCCESS, or the error that stopped it:
/// what `transfer` returned, or ERROR_HANDLE_EOF when a piece succeeded without moving anything.
/// The number of bytes moved so far goes to `totalBytes`, unless that is null.
template <class Byte, class Transfer>
DWORD TransferExactly(Byte* bytes, DWORD sizeBytes, Transfer transfer,
                      DWORD* totalBytes = nullptr) {
  DWORD error = ERROR_SUCCESS;
  DWORD total = 0;
  while (error == ERROR_SUCCESS && total < sizeBytes) {
    DWORD done = 0;
    error = transfer(bytes + total, sizeBytes - total, &done);
    if (error == ERROR_SUCCESS && done == 0) error = ERROR_HANDLE_EOF;
    if (error == ERROR_SUCCESS) total += done;
  }
  if (totalBytes != nullptr) *totalBytes = total;
  return error;
}

/// Transfers for TransferExactly: synchronous calls on `file`, which may be a pipe.
inline auto ReadingFrom(HANDLE file) {
  return [file](void* piece, DWORD length, DWORD* done) -> DWORD {
    return ReadFile(file, piece, length, done, nullptr) ? ERROR_SUCCESS : GetLastError();
  };
}
inline auto WritingTo(HANDLE file) {
  return [file](const void* piece, DWORD length, DWORD* done) -> DWORD {
    return WriteFile(file, piece, length, done, nullptr) ? ERROR_SUCCESS : GetLastError();
  };
}

}  // namespace Tagwright
