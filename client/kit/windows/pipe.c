/// Named pipes, opened for overlapped calls so that each can be given up in time.
#include <windows.h>

#include "../system.h"

static tagwright_result fail(DWORD error) {
  tagwright_note_system_error((long)error);
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
      return TAGWRIGHT_NO_PIPE;
    case ERROR_PIPE_BUSY:
      return TAGWRIGHT_PIPE_BUSY;
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
      return TAGWRIGHT_SERVER_GONE;
    default:
      return TAGWRIGHT_SYSTEM_ERROR;
  }
}

uint64_t tagwright_now_ms(void) { return GetTickCount64(); }

void tagwright_sleep_ms(uint32_t duration_ms) { Sleep(duration_ms); }

tagwright_result tagwright_pipe_open(const char *name, tagwright_handle *pipe) {
  char path[300];
  // The name is plain ASCII.
  const char *const parts[] = {"\\\\.\\pipe\\", name, NULL};
  if (!tagwright_join(path, sizeof path, parts)) return fail(ERROR_INVALID_NAME);
  // Whoever serves the name, it may not act in the name of the driver.
  const DWORD flags = FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
  const HANDLE opened =
      CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, NULL, OPEN_EXISTING, flags, NULL);
  if (opened == INVALID_HANDLE_VALUE) return fail(GetLastError());
  *pipe = (tagwright_handle)opened;
  return TAGWRIGHT_OK;
}

void tagwright_pipe_close(tagwright_handle pipe) { CloseHandle((HANDLE)pipe); }

static DWORD wait_time(uint64_t deadline) {
  if (deadline == TAGWRIGHT_NO_DEADLINE) return INFINITE;
  const uint64_t now = tagwright_now_ms();
  const uint64_t left = deadline > now ? deadline - now : 0;
  return left < INFINITE ? (DWORD)left : INFINITE - 1;
}

/// Sees a call that was begun to its end, or gives it up at the deadline.
static tagwright_result finish(HANDLE pipe, OVERLAPPED *call, BOOL began, uint64_t deadline,
                               size_t *done) {
  DWORD count = 0;
  if (!began && GetLastError() != ERROR_IO_PENDING) return fail(GetLastError());
  const bool timed_out = WaitForSingleObject(call->hEvent, wait_time(deadline)) == WAIT_TIMEOUT;
  if (timed_out) CancelIoEx(pipe, call);
  // The call may not outlive its record, so its end is awaited in any case.
  if (!GetOverlappedResult(pipe, call, &count, TRUE)) {
    const DWORD error = GetLastError();
    return timed_out && error == ERROR_OPERATION_ABORTED ? TAGWRIGHT_TIMED_OUT : fail(error);
  }
  *done = count;
  return count > 0 ? TAGWRIGHT_OK : TAGWRIGHT_SERVER_GONE;
}

static tagwright_result transfer(tagwright_handle pipe, void *read_to, const void *write_from,
                                 size_t size, uint64_t deadline, size_t *done) {
  OVERLAPPED call = {0};
  call.hEvent = CreateEventW(NULL, TRUE, FALSE, NULL);
  if (call.hEvent == NULL) return fail(GetLastError());
  const BOOL began = read_to != NULL
                         ? ReadFile((HANDLE)pipe, read_to, (DWORD)size, NULL, &call)
                         : WriteFile((HANDLE)pipe, write_from, (DWORD)size, NULL, &call);
  const tagwright_result result = finish((HANDLE)pipe, &call, began, deadline, done);
  CloseHandle(call.hEvent);
  return result;
}

tagwright_result tagwright_pipe_read(tagwright_handle pipe, void *bytes, size_t size,
                                     uint64_t deadline, size_t *done) {
  return transfer(pipe, bytes, NULL, size, deadline, done);
}

tagwright_result tagwright_pipe_write(tagwright_handle pipe, const void *bytes, size_t size,
                                      uint64_t deadline, size_t *done) {
  return transfer(pipe, NULL, bytes, size, deadline, done);
}
