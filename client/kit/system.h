/// What the client library needs of a system. Each function returns a result and leaves what the
/// system said in tagwright_note_system_error. A deadline is in milliseconds of tagwright_now_ms.
#ifndef TAGWRIGHT_KIT_SYSTEM_H
#define TAGWRIGHT_KIT_SYSTEM_H

#include <stdbool.h>

#include "tagwright/client.h"

/// A pipe's or a process's handle, as the system has it.
typedef intptr_t tagwright_handle;
#define TAGWRIGHT_NO_HANDLE ((tagwright_handle)-1)

#define TAGWRIGHT_NO_DEADLINE UINT64_MAX

uint64_t tagwright_now_ms(void);
void tagwright_sleep_ms(uint32_t duration_ms);

// The length of an absolute path with its NUL may reach TAGWRIGHT_PATH_SIZE, which the build
// defines.

/// Connects at once or fails at once. `name` is in lower case and valid.
tagwright_result tagwright_pipe_open(const char *name, tagwright_handle *pipe);
void tagwright_pipe_close(tagwright_handle pipe);

/// Move at least one byte, and at most `size`; `*done` says how many.
tagwright_result tagwright_pipe_read(tagwright_handle pipe, void *bytes, size_t size,
                                     uint64_t deadline, size_t *done);
tagwright_result tagwright_pipe_write(tagwright_handle pipe, const void *bytes, size_t size,
                                      uint64_t deadline, size_t *done);

tagwright_result tagwright_process_start(const char *program, const char *name, bool control,
                                         tagwright_handle *process);
/// TAGWRIGHT_TIMED_OUT while it still runs. Not called again after it has ended.
tagwright_result tagwright_process_wait(tagwright_handle process, uint64_t deadline,
                                        int *exit_code);
/// Ends the process unless `has_ended`, and gives the handle back.
void tagwright_process_release(tagwright_handle process, bool has_ended);

/// Whether a program lies at the path.
bool tagwright_is_program(const char *path);
/// The candidate number `index`, from 0, of the places where the program may lie besides the one in
/// the environment; false when there is none left.
bool tagwright_program_place(unsigned index, char *path, size_t size);
/// An environment variable's value; false when it is absent, empty or too long.
bool tagwright_environment(const char *variable, char *value, size_t size);
bool tagwright_random(void *bytes, size_t size);

/// Writes the parts, of which the last is followed by a null pointer, one behind the other; false
/// when they do not fit. (The formatted output of each compiler needs a library of that compiler.)
bool tagwright_join(char *text, size_t size, const char *const *parts);

/// Remembers for tagwright_system_error, which the system's files define, what the system said to
/// this thread.
void tagwright_note_system_error(long error);

#endif
