/// Starting the program as a child and waiting for its end.
#include <errno.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../system.h"

extern char **environ;

static _Thread_local long g_system_error;

void tagwright_note_system_error(long error) { g_system_error = error; }
long tagwright_system_error(void) { return g_system_error; }

static tagwright_result fail(int error) {
  tagwright_note_system_error(error);
  return error == ENOENT ? TAGWRIGHT_NO_PROGRAM : TAGWRIGHT_SYSTEM_ERROR;
}

tagwright_result tagwright_process_start(const char *program, const char *name, bool control,
                                         tagwright_handle *process) {
  char *const arguments[] = {(char *)program, (char *)"/n", (char *)name,
                             control ? (char *)"/c" : NULL, NULL};
  pid_t id = 0;
  const int error = posix_spawn(&id, program, NULL, NULL, arguments, environ);
  if (error != 0) return fail(error);
  *process = id;
  return TAGWRIGHT_OK;
}

/// Waits for the end without taking the exit code.
static tagwright_result await_end(pid_t id, uint64_t deadline) {
  const int descriptor = (int)syscall(SYS_pidfd_open, id, 0);
  if (descriptor < 0) return fail(errno);
  struct pollfd ended = {descriptor, POLLIN, 0};
  int count;
  do {
    const uint64_t now = tagwright_now_ms();
    const uint64_t left = deadline > now ? deadline - now : 0;
    count = poll(&ended, 1,
                 deadline == TAGWRIGHT_NO_DEADLINE ? -1 : (int)(left < INT_MAX ? left : INT_MAX));
  } while (count < 0 && errno == EINTR);
  close(descriptor);
  return count > 0 ? TAGWRIGHT_OK : TAGWRIGHT_TIMED_OUT;
}

tagwright_result tagwright_process_wait(tagwright_handle process, uint64_t deadline,
                                        int *exit_code) {
  const tagwright_result result = await_end((pid_t)process, deadline);
  if (result != TAGWRIGHT_OK) return result;
  int state = 0;
  pid_t ended;
  do {
    ended = waitpid((pid_t)process, &state, 0);
  } while (ended < 0 && errno == EINTR);
  if (ended < 0) return fail(errno);
  *exit_code = WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
  return TAGWRIGHT_OK;
}

void tagwright_process_release(tagwright_handle process, bool has_ended) {
  if (has_ended) return;
  kill((pid_t)process, SIGKILL);
  waitpid((pid_t)process, NULL, 0);
}

bool tagwright_is_program(const char *path) { return access(path, X_OK) == 0; }

static bool beside_this_program(char *path, size_t size) {
  static const char kName[] = "tagwright";
  const ssize_t length = readlink("/proc/self/exe", path, size - 1);
  if (length <= 0) return false;
  path[length] = '\0';
  char *const name = strrchr(path, '/') + 1;
  if ((size_t)(name - path) + sizeof kName > size) return false;
  memcpy(name, kName, sizeof kName);
  return true;
}

bool tagwright_program_place(unsigned index, char *path, size_t size) {
  static const char *const kInstalled[] = {TAGWRIGHT_INSTALLED_PROGRAM, "/usr/bin/tagwright",
                                           "/usr/local/bin/tagwright"};
  if (index == 0) return beside_this_program(path, size);
  if (index > sizeof kInstalled / sizeof *kInstalled) return false;
  const char *const parts[] = {kInstalled[index - 1], NULL};
  return tagwright_join(path, size, parts);
}

bool tagwright_environment(const char *variable, char *value, size_t size) {
  const char *const text = getenv(variable);
  if (text == NULL || *text == '\0' || strlen(text) >= size) return false;
  memcpy(value, text, strlen(text) + 1);
  return true;
}

bool tagwright_random(void *bytes, size_t size) {
  return getrandom(bytes, size, 0) == (ssize_t)size;
}
