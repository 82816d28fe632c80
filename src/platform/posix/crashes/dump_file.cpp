#include "platform/posix/crashes/dump_file.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <iterator>

#include "platform/posix/kernel/unique_fd.h"

namespace platform {

using minidump::Location;

void DumpFile::Align() { _end = (_end + 7) / 8 * 8; }

Location DumpFile::Append(const void* bytes, std::size_t sizeBytes) {
  Align();
  const DWORD start = _end;
  const auto* from = static_cast<const char*>(bytes);
  for (std::size_t left = sizeBytes; left > 0 && !_hasFailed;) {
    // Not the function, in which a sanitizer would look at memory that nobody may read.
    const long count = syscall(SYS_pwrite64, _file, from, left, static_cast<off_t>(_end));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      _hasFailed = count == 0 || errno != EFAULT;
      break;
    }
    from += count;
    left -= static_cast<std::size_t>(count);
    _end += static_cast<DWORD>(count);
  }
  return {_end - start, start};
}

DWORD DumpFile::AppendText(const char* text) {
  char16_t wide[1024];
  DWORD length = 0;
  for (; text[length] != 0 && length < std::size(wide) - 1; ++length) {
    wide[length] = static_cast<unsigned char>(text[length]);
  }
  wide[length] = 0;
  const DWORD sizeBytes = length * sizeof(char16_t);
  const DWORD offset = Reserve(sizeof sizeBytes + sizeBytes + sizeof(char16_t));
  OverwriteAt(offset, &sizeBytes, sizeof sizeBytes);
  OverwriteAt(offset + sizeof sizeBytes, wide, sizeBytes + sizeof(char16_t));
  return offset;
}

Location DumpFile::AppendFile(const char* path) {
  const UniqueFd source(open(path, O_RDONLY | O_CLOEXEC));
  Align();
  const DWORD start = _end;
  char piece[4096];
  for (ssize_t count; (count = read(source.Get(), piece, sizeof piece)) > 0;) {
    OverwriteAt(_end, piece, static_cast<std::size_t>(count));
    _end += static_cast<DWORD>(count);
  }
  return {_end - start, start};
}

DWORD DumpFile::Reserve(std::size_t sizeBytes) {
  Align();
  const DWORD offset = _end;
  _end += static_cast<DWORD>(sizeBytes);
  return offset;
}

void DumpFile::OverwriteAt(DWORD offset, const void* bytes, std::size_t sizeBytes) {
  if (_hasFailed) return;
  _hasFailed = pwrite(_file, bytes, sizeBytes, offset) != static_cast<ssize_t>(sizeBytes);
}

}  // namespace platform
