/// The client of a tagwright process, for drivers in C11 and in any language that calls C. It needs
/// nothing of the product but its program, and no library but the system's. Names begin with
/// tagwright_ or TAGWRIGHT_. client.hpp wraps it for C++17.
///
///   tagwright_process *process = NULL;
///   tagwright_client *client = NULL;
///   char name[TAGWRIGHT_NAME_SIZE];
///   uint32_t status = 0;
///   tagwright_fresh_name(name);
///   if (tagwright_start(NULL, name, TAGWRIGHT_SINGLE, &process) == TAGWRIGHT_OK &&
///       tagwright_connect_to(process, 5000, &client) == TAGWRIGHT_OK &&
///       tagwright_send(client, TAGWRIGHT_ENCODE, job, job_size, 60000, &status) == TAGWRIGHT_OK &&
///       status == TAGWRIGHT_SUCCESS) { ... }
///
/// Text is UTF-8. A time-out is in milliseconds; 0 tries once, TAGWRIGHT_NO_TIMEOUT never gives up.
/// A client or process may be used by one thread at a time, different ones by different threads.
#ifndef TAGWRIGHT_CLIENT_H
#define TAGWRIGHT_CLIENT_H

#include <stddef.h>
#include <stdint.h>

#include "message_header.h"

#ifdef __cplusplus
extern "C" {
#endif

#define TAGWRIGHT_NO_TIMEOUT UINT32_MAX

/// Room for a name of tagwright_fresh_name with its NUL.
#define TAGWRIGHT_NAME_SIZE 64

/// Whether a call did what it was asked to. What the server answered is its status.
typedef enum tagwright_result {
  TAGWRIGHT_OK = 0,
  TAGWRIGHT_NO_PIPE,        ///< No process serves the name.
  TAGWRIGHT_PIPE_BUSY,      ///< The pipe has, or has had, its one client.
  TAGWRIGHT_SERVER_GONE,    ///< The other end, or the process, ended before it answered.
  TAGWRIGHT_TIMED_OUT,      ///< The time limit passed.
  TAGWRIGHT_BAD_REPLY,      ///< What came back is no reply to the request.
  TAGWRIGHT_TOO_LONG,       ///< The payload is longer than a server takes; nothing was sent.
  TAGWRIGHT_NOT_CONNECTED,  ///< An earlier request lost the connection.
  TAGWRIGHT_BAD_NAME,       ///< Not a name that this library takes, see tagwright_connect.
  TAGWRIGHT_NO_PROGRAM,     ///< The program is not where it was looked for.
  TAGWRIGHT_NO_MEMORY,
  TAGWRIGHT_SYSTEM_ERROR  ///< The system refused otherwise; see tagwright_system_error.
} tagwright_result;

/// A few words in English. Never null.
const char *tagwright_result_text(tagwright_result result);

/// The name of a reply status, such as "eStatusEncodeFailed"; "unknown status" for any other.
const char *tagwright_status_name(uint32_t status);

/// What the system said when the calling thread's last call failed: errno on Linux, GetLastError on
/// Windows; 0 when the system was not involved.
long tagwright_system_error(void);

/// One connection to one pipe, which is all that a pipe accepts in its life.
typedef struct tagwright_client tagwright_client;

/// Connects to the pipe of that name (1 to 200 letters, digits, '-', '_' and '.', none of these '.'
/// in front; letter case does not count), waiting for it to appear.
tagwright_result tagwright_connect(const char *pipe_name, uint32_t timeout_ms,
                                   tagwright_client **client);

/// Sends one request and waits for its reply, whose status is stored. Whether the server did what
/// it was asked to is `*status`, not the result. After any failure but TAGWRIGHT_TOO_LONG the
/// connection is closed, because a late reply would be taken for that of the next request.
tagwright_result tagwright_send(tagwright_client *client, uint32_t message_type,
                                const void *payload, size_t payload_size, uint32_t timeout_ms,
                                uint32_t *status);

/// Asks a control pipe for one more encoder pipe. Connect to it within 5000 ms.
tagwright_result tagwright_add_encoder(tagwright_client *control, const char *pipe_name,
                                       uint32_t timeout_ms, uint32_t *status);

/// Closes the connection, which does not end the server. Takes a null pointer.
void tagwright_close(tagwright_client *client);

/// A started tagwright process.
typedef struct tagwright_process tagwright_process;

enum tagwright_mode {
  TAGWRIGHT_SINGLE,  ///< The process has one encoder pipe.
  TAGWRIGHT_CONTROL  ///< Its pipe is a control pipe, through which encoder pipes are had.
};

/// Writes a pipe name that nobody can guess or has used before.
tagwright_result tagwright_fresh_name(char name[TAGWRIGHT_NAME_SIZE]);

/// Stores the path of the program: what the environment variable TAGWRIGHT_PROGRAM says, else
/// tagwright beside the calling program, else where it is installed. TAGWRIGHT_TOO_LONG when the
/// path with its NUL is longer than `size`.
tagwright_result tagwright_find_program(char *path, size_t size);

/// Starts the program (a null pointer: the one that tagwright_find_program finds) on a pipe name.
/// The calling process becomes its parent: when that ends, so does the program.
tagwright_result tagwright_start(const char *program, const char *pipe_name,
                                 enum tagwright_mode mode, tagwright_process **process);

/// Connects to the first pipe of the process, waiting for it to appear. TAGWRIGHT_SERVER_GONE when
/// the process ends before.
tagwright_result tagwright_connect_to(tagwright_process *process, uint32_t timeout_ms,
                                      tagwright_client **client);

/// Waits for the end of the process and stores its exit code, which is 0 after every ordinary end.
tagwright_result tagwright_wait(tagwright_process *process, uint32_t timeout_ms, int *exit_code);

/// Ends the process by force if it still runs, and forgets it. Takes a null pointer.
void tagwright_release(tagwright_process *process);

#ifdef __cplusplus
}
#endif

#endif
