/// The one loop that moves exactly so many bytes over a pipe, in either direction.
#pragma once

#include "platform/windows_api.h"

namespace Tagwright {

/// Moves `size` bytes from or to `bytes`, in as many pieces as it takes. `transfer(piece, length,
/// done)` moves up to `length` bytes, stores how many in `done`, and returns a system error, 0 on
/// success. Returns 0, or the error that stopped it: what `transfer` returned, or ERROR_HANDLE_EOF
/// when a piece succeeded without moving anything.
template <class Byte, class Transfer>
DWORD TransferExactly(Byte* bytes, DWORD size, Transfer transfer) {
  for (DWORD total = 0; total < size;) {
    DWORD done = 0;
    if (const DWORD error = transfer(bytes + total, size - total, &done); error != ERROR_SUCCESS) {
      return error;
    }
    if (done == 0) return ERROR_HANDLE_EOF;
    total += done;
  }
  return ERROR_SUCCESS;
}

}  // namespace Tagwright
