#include "platform/posix/crashes/process_maps.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/posix/kernel/unique_fd.h"

namespace platform {
namespace {

/// Through raw system calls; the number of bytes.
std::size_t ReadFileInto(const char* path, void* buffer, std::size_t sizeBytes) {
  const UniqueFd file(open(path, O_RDONLY | O_CLOEXEC));
  std::size_t done = 0;
  for (ssize_t count;
       (count = read(file.Get(), static_cast<char*>(buffer) + done, sizeBytes - done)) > 0;) {
    done += static_cast<std::size_t>(count);
  }
  return done;
}

}  // namespace

std::span<const Mapping> ProcessMaps::Read() {
  _count = 0;
  const std::size_t size = ReadFileInto("/proc/self/maps", _text, sizeof _text - 1);
  _text[size] = 0;
  for (char* line = _text; *line != 0 && _count < std::size(_mappings);) {
    char* const end = std::strchr(line, '\n');
    if (end == nullptr) break;
    *end = 0;
    AddLine(line);
    line = end + 1;
  }
  return {_mappings, _count};
}

// start-end rwxp offset device inode     path
void ProcessMaps::AddLine(char* line) {
  char* at = line;
  Mapping& mapping = _mappings[_count++];
  mapping.start = std::strtoul(at, &at, 16);
  mapping.end = std::strtoul(at + 1, &at, 16);
  mapping.isReadable = at[1] == 'r';
  mapping.isWritable = at[2] == 'w';
  mapping.isExecutable = at[3] == 'x';
  const std::size_t pathStart = std::strcspn(at, "/[");
  mapping.path = at + pathStart;
}

}  // namespace platform
