#include "platform/posix/api/errors.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

[[gnu::tls_model("initial-exec")]] constinit thread_local DWORD t_lastError = ERROR_SUCCESS;

struct SystemMessage {
  DWORD code;
  std::string_view text;
};

/// In the order of the codes.
constexpr SystemMessage kMessages[] = {
    {ERROR_SUCCESS, "The operation completed successfully."},
    {ERROR_INVALID_FUNCTION, "Incorrect function."},
    {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, "The system cannot find the path specified."},
    {ERROR_TOO_MANY_OPEN_FILES, "The system cannot open the file."},
    {ERROR_ACCESS_DENIED, "Access is denied."},
    {ERROR_INVALID_HANDLE, "The handle is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory resources are available to process this command."},
    {ERROR_OUTOFMEMORY, "Not enough memory resources are available to complete this operation."},
    {ERROR_NO_MORE_FILES, "There are no more files."},
    {ERROR_WRITE_FAULT, "The system cannot write to the specified device."},
    {ERROR_GEN_FAILURE, "A device attached to the system is not functioning."},
    {ERROR_SHARING_VIOLATION,
     "The process cannot access the file because it is being used by another process."},
    {ERROR_HANDLE_EOF, "Reached the end of the file."},
    {ERROR_NOT_SUPPORTED, "The request is not supported."},
    {ERROR_FILE_EXISTS, "The file exists."},
    {ERROR_INVALID_PARAMETER, "The parameter is incorrect."},
    {ERROR_BROKEN_PIPE, "The pipe has been ended."},
    {ERROR_DISK_FULL, "There is not enough space on the disk."},
    {ERROR_INSUFFICIENT_BUFFER, "The data area passed to a system call is too small."},
    {ERROR_INVALID_NAME, "The filename, directory name, or volume label syntax is incorrect."},
    {ERROR_MOD_NOT_FOUND, "The specified module could not be found."},
    {ERROR_PROC_NOT_FOUND, "The specified procedure could not be found."},
    {ERROR_DIR_NOT_EMPTY, "The directory is not empty."},
    {ERROR_BAD_PATHNAME, "The specified path is invalid."},
    {ERROR_ALREADY_EXISTS, "Cannot create a file when that file already exists."},
    {ERROR_BAD_EXE_FORMAT, "The file is not a valid application for this system."},
    {ERROR_FILENAME_EXCED_RANGE, "The filename or extension is too long."},
    {ERROR_FILE_TOO_LARGE, "The file size exceeds the limit allowed and cannot be saved."},
    {ERROR_PIPE_BUSY, "All pipe instances are busy."},
    {ERROR_NO_DATA, "The pipe is being closed."},
    {ERROR_PIPE_NOT_CONNECTED, "No process is on the other end of the pipe."},
    {ERROR_MORE_DATA, "More data is available."},
    {ERROR_NOT_OWNER, "Attempt to release mutex not owned by caller."},
    {ERROR_MR_MID_NOT_FOUND, "The system has no text for the message number."},
    {ERROR_INVALID_ADDRESS, "Attempt to access invalid address."},
    {ERROR_ARITHMETIC_OVERFLOW, "Arithmetic result exceeded 32 bits."},
    {ERROR_PIPE_CONNECTED, "There is a process on other end of the pipe."},
    {ERROR_PIPE_LISTENING, "Waiting for a process to open the other end of the pipe."},
    {ERROR_OPERATION_ABORTED,
     "The I/O operation has been aborted because of either a thread exit or an application "
     "request."},
    {ERROR_NOACCESS, "Invalid access to memory location."},
    {ERROR_STACK_OVERFLOW, "Recursion too deep; the stack overflowed."},
    {ERROR_INVALID_FLAGS, "Invalid flags."},
    {ERROR_BADDB, "The configuration registry database is corrupt."},
    {ERROR_BADKEY, "The configuration registry key is invalid."},
    {ERROR_REGISTRY_IO_FAILED, "The registry could not be read or written."},
    {ERROR_KEY_DELETED,
     "Illegal operation attempted on a registry key that has been marked for deletion."},
    {ERROR_NOT_FOUND, "Element not found."},
    {ERROR_UNIDENTIFIED_ERROR, "Insufficient information exists to identify the cause of failure."},
    {ERROR_UNKNOWN_REVISION, "The revision level is unknown."},
    {ERROR_INVALID_ACL, "The access control list (ACL) structure is invalid."},
    {ERROR_INTERNAL_ERROR, "An internal error occurred."},
};
static_assert(std::ranges::is_sorted(kMessages, {}, &SystemMessage::code));

constexpr std::string_view kLineEnd = "\r\n";
constexpr DWORD kProvidedFlags =
    FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ARGUMENT_ARRAY;

DWORD FailWith(DWORD error) {
  SetLastError(error);
  return 0;
}

}  // namespace

DWORD GetLastError() { return t_lastError; }

void SetLastError(DWORD code) { t_lastError = code; }

DWORD FormatMessageA(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId, LPSTR buffer,
                     DWORD bufferSize, void* arguments) {
  if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0 || (flags & ~kProvidedFlags) != 0 ||
      source != nullptr || languageId != 0 || arguments != nullptr || buffer == nullptr) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  const auto* const message =
      std::ranges::lower_bound(kMessages, messageId, {}, &SystemMessage::code);
  if (message == std::end(kMessages) || message->code != messageId) {
    return FailWith(ERROR_MR_MID_NOT_FOUND);
  }
  const std::size_t length = message->text.size() + kLineEnd.size();
  if (length >= bufferSize) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  char* const end = std::ranges::copy(message->text, buffer).out;
  *std::ranges::copy(kLineEnd, end).out = 0;
  return static_cast<DWORD>(length);
}
