#include "platform/posix/kernel/byte_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

struct flock Range(short type, off_t at, off_t size) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = at;
  range.l_len = size;
  return range;
}

bool Set(int file, int command, struct flock range) {
  return TEMP_FAILURE_RETRY(fcntl(file, command, &range)) == 0;
}

short TypeOf(ByteLock kind) { return kind == ByteLock::kExclusive ? F_WRLCK : F_RDLCK; }

}  // namespace

bool TryLockByte(int file, off_t at, ByteLock kind) {
  return Set(file, F_OFD_SETLK, Range(TypeOf(kind), at, 1));
}

bool LockByte(int file, off_t at, ByteLock kind) {
  return Set(file, F_OFD_SETLKW, Range(TypeOf(kind), at, 1));
}

void UnlockByte(int file, off_t at) { Set(file, F_OFD_SETLK, Range(F_UNLCK, at, 1)); }

void UnlockAllBytes(int file) {
  constexpr off_t kToTheEnd = 0;
  Set(file, F_OFD_SETLK, Range(F_UNLCK, 0, kToTheEnd));
}

bool IsByteLockedElsewhere(int file, off_t at) {
  struct flock range = Range(F_RDLCK, at, 1);
  return fcntl(file, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

}  // namespace platform
