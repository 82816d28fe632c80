#include "platform/posix/kernel/append_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/kernel/file_modes.h"

namespace platform {
namespace {

/// A FIFO and its like have no position. It is asked for because the system would take a question
/// for the file's times, as fstat asks, as the wish to tell the next write from this moment, and
/// that write would take twice as long.
bool HasPosition(int file) { return lseek(file, 0, SEEK_CUR) >= 0; }

/// Leaves the bytes where they are when another process has appended to them since.
void TakeBack(int file, std::size_t sizeBytes) {
  const off_t end = lseek(file, 0, SEEK_CUR);
  struct stat status {};
  if (fstat(file, &status) != 0 || status.st_size != end) return;
  [[maybe_unused]] const int result = ftruncate(file, end - static_cast<off_t>(sizeBytes));
}

}  // namespace

UniqueFd OpenToAppend(const std::string& path) {
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  UniqueFd file(open(path.c_str(), kFlags, kPrivateFile));
  if (file && !HasPosition(file.Get())) {
    file.Reset();
    errno = ENOTSUP;
  }
  return file;
}

int AppendWhole(int file, std::string_view bytes) {
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count =
        TEMP_FAILURE_RETRY(write(file, bytes.data() + written, bytes.size() - written));
    if (count <= 0) {
      // What takes nothing once would be asked for ever.
      const int error = count == 0 ? ENOSPC : errno;
      if (written > 0) TakeBack(file, written);
      return error;
    }
    written += static_cast<std::size_t>(count);
  }
  return 0;
}

}  // namespace platform
