#include "tagwright/client.h"

#include <stdlib.h>
#include <string.h>

#include "system.h"

/// How long to wait before looking for a pipe again: far below what starting a process takes, and
/// no load.
static const uint32_t kLookAgainMs = 2;

/// Names of this length fit a socket's file name as they stand.
static const size_t kMaxNameChars = 200;

struct tagwright_client {
  tagwright_handle pipe;
};

struct tagwright_process {
  tagwright_handle handle;
  bool has_ended;
  int exit_code;
  char pipe_name[];
};

const char *tagwright_result_text(tagwright_result result) {
  switch (result) {
    case TAGWRIGHT_OK:
      return "done";
    case TAGWRIGHT_NO_PIPE:
      return "no process serves the pipe";
    case TAGWRIGHT_PIPE_BUSY:
      return "the pipe has, or has had, its one client";
    case TAGWRIGHT_SERVER_GONE:
      return "the server went away before it answered";
    case TAGWRIGHT_TIMED_OUT:
      return "the time limit passed";
    case TAGWRIGHT_BAD_REPLY:
      return "what came back is no reply to the request";
    case TAGWRIGHT_TOO_LONG:
      return "too long";
    case TAGWRIGHT_NOT_CONNECTED:
      return "not connected";
    case TAGWRIGHT_BAD_NAME:
      return "the pipe name is not valid";
    case TAGWRIGHT_NO_PROGRAM:
      return "the program tagwright is not found";
    case TAGWRIGHT_NO_MEMORY:
      return "out of memory";
    default:
      return "the system refused";
  }
}

const char *tagwright_status_name(uint32_t status) {
  switch (status) {
    case TAGWRIGHT_SUCCESS:
      return "eStatusSuccess";
    case TAGWRIGHT_UNKNOWN_MESSAGE:
      return "eStatusUnknownMessage";
    case TAGWRIGHT_ENCODE_FAILED:
      return "eStatusEncodeFailed";
    case TAGWRIGHT_NO_PIPE_NAME:
      return "eStatusNoPipeName";
    case TAGWRIGHT_PIPE_CREATE_FAILED:
      return "eStatusPipeCreateFailed";
    default:
      return "unknown status";
  }
}

static uint64_t deadline_after(uint32_t timeout_ms) {
  return timeout_ms == TAGWRIGHT_NO_TIMEOUT ? TAGWRIGHT_NO_DEADLINE
                                            : tagwright_now_ms() + timeout_ms;
}

static bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

static bool is_name_char(char c) {
  return is_letter(c) || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
}

/// Copies a valid name in lower case; false for any other.
static bool fold_name(const char *name, char *folded) {
  const size_t length = strlen(name);
  if (length == 0 || length > kMaxNameChars || name[0] == '.') return false;
  for (size_t i = 0; i <= length; ++i) {
    if (i < length && !is_name_char(name[i])) return false;
    folded[i] = name[i] >= 'A' && name[i] <= 'Z' ? (char)(name[i] - 'A' + 'a') : name[i];
  }
  return true;
}

/// Tries until the pipe is there, the deadline passes or `process`, which may be null, has ended.
static tagwright_result open_pipe(const char *name, uint64_t deadline, tagwright_process *process,
                                  tagwright_handle *pipe) {
  char folded[256];
  if (!fold_name(name, folded)) return TAGWRIGHT_BAD_NAME;
  for (;;) {
    const tagwright_result result = tagwright_pipe_open(folded, pipe);
    if (result != TAGWRIGHT_NO_PIPE) return result;
    if (process != NULL && tagwright_wait(process, 0, NULL) == TAGWRIGHT_OK) {
      return TAGWRIGHT_SERVER_GONE;
    }
    if (tagwright_now_ms() >= deadline) return TAGWRIGHT_NO_PIPE;
    tagwright_sleep_ms(kLookAgainMs);
  }
}

static tagwright_result connect_client(const char *name, uint32_t timeout_ms,
                                       tagwright_process *process, tagwright_client **client) {
  tagwright_note_system_error(0);
  *client = NULL;
  tagwright_client *const created = malloc(sizeof *created);
  if (created == NULL) return TAGWRIGHT_NO_MEMORY;
  const tagwright_result result =
      open_pipe(name, deadline_after(timeout_ms), process, &created->pipe);
  if (result == TAGWRIGHT_OK) {
    *client = created;
  } else {
    free(created);
  }
  return result;
}

tagwright_result tagwright_connect(const char *pipe_name, uint32_t timeout_ms,
                                   tagwright_client **client) {
  return connect_client(pipe_name, timeout_ms, NULL, client);
}

tagwright_result tagwright_connect_to(tagwright_process *process, uint32_t timeout_ms,
                                      tagwright_client **client) {
  return connect_client(process->pipe_name, timeout_ms, process, client);
}

static tagwright_result write_all(tagwright_handle pipe, const void *bytes, size_t size,
                                  uint64_t deadline) {
  tagwright_result result = TAGWRIGHT_OK;
  for (size_t total = 0, done = 0; result == TAGWRIGHT_OK && total < size; total += done) {
    result = tagwright_pipe_write(pipe, (const char *)bytes + total, size - total, deadline, &done);
  }
  return result;
}

static tagwright_result read_all(tagwright_handle pipe, void *bytes, size_t size,
                                 uint64_t deadline) {
  tagwright_result result = TAGWRIGHT_OK;
  for (size_t total = 0, done = 0; result == TAGWRIGHT_OK && total < size; total += done) {
    result = tagwright_pipe_read(pipe, (char *)bytes + total, size - total, deadline, &done);
  }
  return result;
}

static tagwright_result exchange(tagwright_handle pipe,
                                 const struct tagwright_message_header *request,
                                 const void *payload, uint64_t deadline, uint32_t *status) {
  struct tagwright_message_header reply;
  tagwright_result result = write_all(pipe, request, sizeof *request, deadline);
  if (result == TAGWRIGHT_OK) result = write_all(pipe, payload, request->payload_length, deadline);
  if (result == TAGWRIGHT_OK) result = read_all(pipe, &reply, sizeof reply, deadline);
  if (result != TAGWRIGHT_OK) return result;
  if (memcmp(reply.magic, TAGWRIGHT_MAGIC, sizeof reply.magic) != 0 ||
      reply.message_type != request->message_type || reply.payload_length != 0) {
    return TAGWRIGHT_BAD_REPLY;
  }
  if (status != NULL) *status = reply.status;
  return TAGWRIGHT_OK;
}

tagwright_result tagwright_send(tagwright_client *client, uint32_t message_type,
                                const void *payload, size_t payload_size, uint32_t timeout_ms,
                                uint32_t *status) {
  tagwright_note_system_error(0);
  if (client->pipe == TAGWRIGHT_NO_HANDLE) return TAGWRIGHT_NOT_CONNECTED;
  if (payload_size > TAGWRIGHT_MAX_PAYLOAD_BYTES) return TAGWRIGHT_TOO_LONG;
  struct tagwright_message_header request = {{0}, message_type, (uint32_t)payload_size, 0};
  memcpy(request.magic, TAGWRIGHT_MAGIC, sizeof request.magic);
  const tagwright_result result =
      exchange(client->pipe, &request, payload, deadline_after(timeout_ms), status);
  if (result != TAGWRIGHT_OK) {
    tagwright_pipe_close(client->pipe);
    client->pipe = TAGWRIGHT_NO_HANDLE;
  }
  return result;
}

tagwright_result tagwright_add_encoder(tagwright_client *control, const char *pipe_name,
                                       uint32_t timeout_ms, uint32_t *status) {
  char folded[256];
  if (!fold_name(pipe_name, folded)) return TAGWRIGHT_BAD_NAME;
  return tagwright_send(control, TAGWRIGHT_ADD_ENCODER, pipe_name, strlen(pipe_name) + 1,
                        timeout_ms, status);
}

void tagwright_close(tagwright_client *client) {
  if (client == NULL) return;
  if (client->pipe != TAGWRIGHT_NO_HANDLE) tagwright_pipe_close(client->pipe);
  free(client);
}

tagwright_result tagwright_fresh_name(char name[TAGWRIGHT_NAME_SIZE]) {
  unsigned char random[16];
  if (!tagwright_random(random, sizeof random)) return TAGWRIGHT_SYSTEM_ERROR;
  static const char kPrefix[] = "tagwright-";
  static const char kDigits[] = "0123456789abcdef";
  memcpy(name, kPrefix, sizeof kPrefix);
  char *digit = name + strlen(kPrefix);
  for (size_t i = 0; i < sizeof random; ++i) {
    *digit++ = kDigits[random[i] >> 4];
    *digit++ = kDigits[random[i] & 15];
  }
  *digit = '\0';
  return TAGWRIGHT_OK;
}

bool tagwright_join(char *text, size_t size, const char *const *parts) {
  size_t length = 0;
  for (; *parts != NULL; ++parts) {
    const size_t part = strlen(*parts);
    if (part >= size - length) return false;
    memcpy(text + length, *parts, part);
    length += part;
  }
  text[length] = '\0';
  return true;
}

static tagwright_result copy_path(const char *from, char *path, size_t size) {
  if (strlen(from) >= size) return TAGWRIGHT_TOO_LONG;
  memcpy(path, from, strlen(from) + 1);
  return TAGWRIGHT_OK;
}

tagwright_result tagwright_find_program(char *path, size_t size) {
  char place[TAGWRIGHT_PATH_SIZE];
  // Who names a program means that one and no other.
  if (tagwright_environment("TAGWRIGHT_PROGRAM", place, sizeof place)) {
    return tagwright_is_program(place) ? copy_path(place, path, size) : TAGWRIGHT_NO_PROGRAM;
  }
  for (unsigned index = 0; tagwright_program_place(index, place, sizeof place); ++index) {
    if (tagwright_is_program(place)) return copy_path(place, path, size);
  }
  return TAGWRIGHT_NO_PROGRAM;
}

tagwright_result tagwright_start(const char *program, const char *pipe_name,
                                 enum tagwright_mode mode, tagwright_process **process) {
  char found[TAGWRIGHT_PATH_SIZE];
  char folded[256];
  tagwright_note_system_error(0);
  *process = NULL;
  if (!fold_name(pipe_name, folded)) return TAGWRIGHT_BAD_NAME;
  tagwright_result result = program == NULL ? tagwright_find_program(found, sizeof found)
                                            : copy_path(program, found, sizeof found);
  if (result != TAGWRIGHT_OK) return result;
  if (!tagwright_is_program(found)) return TAGWRIGHT_NO_PROGRAM;
  tagwright_process *const created = calloc(1, sizeof *created + strlen(pipe_name) + 1);
  if (created == NULL) return TAGWRIGHT_NO_MEMORY;
  memcpy(created->pipe_name, pipe_name, strlen(pipe_name) + 1);
  result = tagwright_process_start(found, pipe_name, mode == TAGWRIGHT_CONTROL, &created->handle);
  if (result == TAGWRIGHT_OK) {
    *process = created;
  } else {
    free(created);
  }
  return result;
}

tagwright_result tagwright_wait(tagwright_process *process, uint32_t timeout_ms, int *exit_code) {
  if (!process->has_ended) {
    const tagwright_result result =
        tagwright_process_wait(process->handle, deadline_after(timeout_ms), &process->exit_code);
    if (result != TAGWRIGHT_OK) return result;
    process->has_ended = true;
  }
  if (exit_code != NULL) *exit_code = process->exit_code;
  return TAGWRIGHT_OK;
}

void tagwright_release(tagwright_process *process) {
  if (process == NULL) return;
  tagwright_process_release(process->handle, process->has_ended);
  free(process);
}
