/// Starting the program as a child and waiting for its end.
#include <stdlib.h>
#include <string.h>
#include <windows.h>

// After windows.h, which it needs and does not include.
#include <ntsecapi.h>

#include "../system.h"

/// What a process that had to be ended reports.
enum { kEndedExitCode = 1 };

enum { kLineSize = TAGWRIGHT_PATH_SIZE + 300 };

/// What starts a process; too much for one page of stack.
struct command {
  WCHAR path[TAGWRIGHT_PATH_SIZE];
  char line[kLineSize];
  WCHAR wide_line[kLineSize];
};

static tagwright_result fail(DWORD error) {
  tagwright_note_system_error((long)error);
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? TAGWRIGHT_NO_PROGRAM
                                                                        : TAGWRIGHT_SYSTEM_ERROR;
}

static bool to_wide(const char *utf8, WCHAR *wide, int size) {
  return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, wide, size) > 0;
}

static bool to_utf8(const WCHAR *wide, char *utf8, size_t size) {
  return WideCharToMultiByte(CP_UTF8, 0, wide, -1, utf8, (int)size, NULL, NULL) > 0;
}

tagwright_result tagwright_process_start(const char *program, const char *name, bool control,
                                         tagwright_handle *process) {
  struct command *const command = malloc(sizeof *command);
  if (command == NULL) return TAGWRIGHT_NO_MEMORY;
  const char *const parts[] = {"\"", program, "\" /n ", name, control ? " /c" : "", NULL};
  STARTUPINFOW startup = {.cb = sizeof startup};
  PROCESS_INFORMATION started;
  tagwright_result result = TAGWRIGHT_TOO_LONG;
  if (tagwright_join(command->line, sizeof command->line, parts)) {
    const bool runs = to_wide(program, command->path, TAGWRIGHT_PATH_SIZE) &&
                      to_wide(command->line, command->wide_line, kLineSize) &&
                      CreateProcessW(command->path, command->wide_line, NULL, NULL, FALSE,
                                     CREATE_NO_WINDOW, NULL, NULL, &startup, &started);
    result = runs ? TAGWRIGHT_OK : fail(GetLastError());
  }
  free(command);
  if (result != TAGWRIGHT_OK) return result;
  CloseHandle(started.hThread);
  *process = (tagwright_handle)started.hProcess;
  return TAGWRIGHT_OK;
}

tagwright_result tagwright_process_wait(tagwright_handle process, uint64_t deadline,
                                        int *exit_code) {
  const uint64_t now = tagwright_now_ms();
  const uint64_t left = deadline > now ? deadline - now : 0;
  const DWORD limit = left < INFINITE ? (DWORD)left : INFINITE;
  DWORD code = 0;
  const DWORD waited = WaitForSingleObject((HANDLE)process, limit);
  if (waited == WAIT_TIMEOUT) return TAGWRIGHT_TIMED_OUT;
  if (waited != WAIT_OBJECT_0 || !GetExitCodeProcess((HANDLE)process, &code)) {
    return fail(GetLastError());
  }
  *exit_code = (int)code;
  return TAGWRIGHT_OK;
}

void tagwright_process_release(tagwright_handle process, bool has_ended) {
  if (!has_ended) TerminateProcess((HANDLE)process, kEndedExitCode);
  CloseHandle((HANDLE)process);
}

bool tagwright_is_program(const char *path) {
  WCHAR wide[TAGWRIGHT_PATH_SIZE];
  if (!to_wide(path, wide, TAGWRIGHT_PATH_SIZE)) return false;
  const DWORD attributes = GetFileAttributesW(wide);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

static bool beside_this_program(char *path, size_t size) {
  static const char kName[] = "tagwright.exe";
  WCHAR wide[TAGWRIGHT_PATH_SIZE];
  const DWORD length = GetModuleFileNameW(NULL, wide, TAGWRIGHT_PATH_SIZE);
  if (length == 0 || length == TAGWRIGHT_PATH_SIZE || !to_utf8(wide, path, size)) return false;
  char *const name = strrchr(path, '\\') + 1;
  if ((size_t)(name - path) + sizeof kName > size) return false;
  memcpy(name, kName, sizeof kName);
  return true;
}

bool tagwright_program_place(unsigned index, char *path, size_t size) {
  char folder[TAGWRIGHT_PATH_SIZE];
  if (index == 0) return beside_this_program(path, size);
  if (index > 1 || !tagwright_environment("ProgramFiles", folder, sizeof folder)) return false;
  const char *const parts[] = {folder, "\\", TAGWRIGHT_INSTALLED_PROGRAM, NULL};
  return tagwright_join(path, size, parts);
}

bool tagwright_environment(const char *variable, char *value, size_t size) {
  WCHAR name[64];
  WCHAR wide[TAGWRIGHT_PATH_SIZE];
  if (!to_wide(variable, name, 64)) return false;
  const DWORD length = GetEnvironmentVariableW(name, wide, TAGWRIGHT_PATH_SIZE);
  return length > 0 && length < TAGWRIGHT_PATH_SIZE && to_utf8(wide, value, size);
}

bool tagwright_random(void *bytes, size_t size) { return RtlGenRandom(bytes, (ULONG)size); }
