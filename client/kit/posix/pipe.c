/// Pipes as Unix stream sockets: the socket pipe/<name> under the state root.
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include "../system.h"

static tagwright_result fail(int error) {
  tagwright_note_system_error(error);
  switch (error) {
    case ENOENT:
      return TAGWRIGHT_NO_PIPE;
    // One client is waiting to be accepted, or one was and the pipe listens no more.
    case EAGAIN:
    case ECONNREFUSED:
      return TAGWRIGHT_PIPE_BUSY;
    case EPIPE:
    case ECONNRESET:
      return TAGWRIGHT_SERVER_GONE;
    default:
      return TAGWRIGHT_SYSTEM_ERROR;
  }
}

uint64_t tagwright_now_ms(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (uint64_t)now.tv_sec * 1000 + (uint64_t)now.tv_nsec / 1000000;
}

void tagwright_sleep_ms(uint32_t duration_ms) {
  const struct timespec duration = {duration_ms / 1000, (long)(duration_ms % 1000) * 1000000};
  nanosleep(&duration, NULL);
}

static bool socket_path(const char *name, char *path, size_t size) {
  static const char *const kRoots[][2] = {{"TAGWRIGHT_ROOT", "/pipe/"},
                                          {"XDG_STATE_HOME", "/tagwright/pipe/"},
                                          {"HOME", "/.local/state/tagwright/pipe/"}};
  char folder[TAGWRIGHT_PATH_SIZE];
  for (size_t i = 0; i < sizeof kRoots / sizeof *kRoots; ++i) {
    if (!tagwright_environment(kRoots[i][0], folder, sizeof folder)) continue;
    const char *const parts[] = {folder, kRoots[i][1], name, NULL};
    return tagwright_join(path, size, parts);
  }
  return false;
}

/// A path may be longer than the 108 bytes of an address, so the way goes through the descriptor of
/// the socket file.
static int connect_through(int file, int connecting) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d", file);
  return connect(connecting, (const struct sockaddr *)&address, sizeof address);
}

tagwright_result tagwright_pipe_open(const char *name, tagwright_handle *pipe) {
  char path[TAGWRIGHT_PATH_SIZE];
  if (!socket_path(name, path, sizeof path)) return fail(ENAMETOOLONG);
  const int file = open(path, O_PATH | O_CLOEXEC);
  if (file < 0) return fail(errno);
  const int connecting = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  const int failed = connecting < 0 || connect_through(file, connecting) != 0;
  const int error = errno;
  close(file);
  if (!failed) {
    *pipe = connecting;
    return TAGWRIGHT_OK;
  }
  if (connecting >= 0) close(connecting);
  return fail(error);
}

void tagwright_pipe_close(tagwright_handle pipe) { close((int)pipe); }

/// Waits until `events` are there.
static tagwright_result await(int pipe, short events, uint64_t deadline) {
  struct pollfd ready = {pipe, events, 0};
  for (;;) {
    const uint64_t now = tagwright_now_ms();
    const uint64_t left = deadline > now ? deadline - now : 0;
    const int count = poll(
        &ready, 1, deadline == TAGWRIGHT_NO_DEADLINE ? -1 : (int)(left < INT_MAX ? left : INT_MAX));
    if (count > 0) return TAGWRIGHT_OK;
    if (count == 0) return TAGWRIGHT_TIMED_OUT;
    if (errno != EINTR) return fail(errno);
  }
}

tagwright_result tagwright_pipe_read(tagwright_handle pipe, void *bytes, size_t size,
                                     uint64_t deadline, size_t *done) {
  for (;;) {
    const ssize_t count = recv((int)pipe, bytes, size, 0);
    if (count == 0) return TAGWRIGHT_SERVER_GONE;
    if (count > 0) {
      *done = (size_t)count;
      return TAGWRIGHT_OK;
    }
    if (errno != EAGAIN && errno != EINTR) return fail(errno);
    const tagwright_result result = await((int)pipe, POLLIN, deadline);
    if (result != TAGWRIGHT_OK) return result;
  }
}

tagwright_result tagwright_pipe_write(tagwright_handle pipe, const void *bytes, size_t size,
                                      uint64_t deadline, size_t *done) {
  for (;;) {
    const ssize_t count = send((int)pipe, bytes, size, MSG_NOSIGNAL);
    if (count >= 0) {
      *done = (size_t)count;
      return TAGWRIGHT_OK;
    }
    if (errno != EAGAIN && errno != EINTR) return fail(errno);
    const tagwright_result result = await((int)pipe, POLLOUT, deadline);
    if (result != TAGWRIGHT_OK) return result;
  }
}
