/// What the system said to each thread, in a slot of the system's: thread-local variables of this
/// compiler need a library that a driver which is built with another one does not have.
#include <stdlib.h>
#include <windows.h>

#include "../system.h"

/// One of all threads claims it.
static volatile LONG g_slot = (LONG)TLS_OUT_OF_INDEXES;

/// When the driver that holds this library is unloaded.
static void free_slot(void) { TlsFree((DWORD)g_slot); }

static DWORD slot(void) {
  if (g_slot == (LONG)TLS_OUT_OF_INDEXES) {
    const LONG claimed = (LONG)TlsAlloc();
    if (InterlockedCompareExchange(&g_slot, claimed, (LONG)TLS_OUT_OF_INDEXES) ==
        (LONG)TLS_OUT_OF_INDEXES) {
      atexit(free_slot);
    } else {
      TlsFree((DWORD)claimed);
    }
  }
  return (DWORD)g_slot;
}

void tagwright_note_system_error(long error) { TlsSetValue(slot(), (void *)(intptr_t)error); }
long tagwright_system_error(void) { return (long)(intptr_t)TlsGetValue(slot()); }
