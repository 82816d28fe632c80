#include "platform/posix/synchronization/mutex_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <new>

#include "platform/posix/kernel/error_translation.h"

namespace platform {

/// What the mapped file holds.
struct MutexFile::Record {
  std::atomic<std::uint64_t> magic;
  pthread_mutex_t mutex;
  /// Written by the thread that holds the mutex: its id while it owns it, else 0.
  std::atomic<std::uint32_t> owner;
};

namespace {

/// "TagMutx" and the version of the record, whose size depends on the C library.
constexpr std::uint64_t kMagic = 0x5461674D75747801U + (sizeof(pthread_mutex_t) << 8);
/// A first user may die half-way, and those who then find its file broken start again together.
constexpr int kAttempts = 100;

/// A lock of the open file, so of this object and not of the process. Waits for F_OFD_SETLKW.
bool LockFile(int fd, int command, short type) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  int result;
  do {
    result = fcntl(fd, command, &range);
  } while (result == -1 && errno == EINTR);
  return result == 0;
}

bool MeansLocked(pthread_mutex_t& mutex, int result) {
  if (result == EOWNERDEAD) pthread_mutex_consistent(&mutex);
  return result == 0 || result == EOWNERDEAD;
}

void InitialiseMutex(pthread_mutex_t& mutex) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

}  // namespace

std::unique_ptr<MutexFile> MutexFile::Open(const std::string& path, bool isForEveryone,
                                           bool lockWhenNew, State& state) {
  const mode_t mode = isForEveryone ? 0666 : 0600;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::unique_ptr<MutexFile> file(new MutexFile(
        UniqueFd(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, mode))));
    if (!file->_file) break;
    if (file->TryBecomeFirst()) {
      fchmod(file->_file.Get(), mode);  // Against the umask; refused to all but the file's owner.
      file->Initialise(lockWhenNew);
      state = lockWhenNew ? State::kNewAndLocked : State::kNew;
      return file;
    }
    if (file->Join()) {
      state = State::kExisting;
      return file;
    }
    errno = EBADF;  // Reported as ERROR_INVALID_HANDLE unless the next attempt does better.
    sched_yield();
  }
  FailWithErrno();
  return nullptr;
}

MutexFile::MutexFile(UniqueFd file) : _file(std::move(file)) {}

MutexFile::~MutexFile() {
  if (_record != nullptr) munmap(_record, sizeof(Record));
}

bool MutexFile::TryBecomeFirst() {
  return LockFile(_file.Get(), F_OFD_SETLK, F_WRLCK) && ftruncate(_file.Get(), 0) == 0 &&
         ftruncate(_file.Get(), sizeof(Record)) == 0 && Map();
}

bool MutexFile::Join() {
  struct stat status {};
  return LockFile(_file.Get(), F_OFD_SETLKW, F_RDLCK) && fstat(_file.Get(), &status) == 0 &&
         status.st_size == sizeof(Record) && Map() && _record->magic == kMagic;
}

bool MutexFile::Map() {
  void* const memory =
      mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED, _file.Get(), 0);
  if (memory == MAP_FAILED) return false;
  _record = static_cast<Record*>(memory);
  return true;
}

void MutexFile::Initialise(bool isLocked) {
  new (_record) Record{};
  InitialiseMutex(_record->mutex);
  if (isLocked) pthread_mutex_lock(&_record->mutex);
  _record->magic = kMagic;
  LockFile(_file.Get(), F_OFD_SETLK, F_RDLCK);
}

bool MutexFile::TryLock() {
  return MeansLocked(_record->mutex, pthread_mutex_trylock(&_record->mutex));
}

bool MutexFile::Lock(const Deadline& deadline) {
  pthread_mutex_t& mutex = _record->mutex;
  const timespec* when = deadline.When();
  return MeansLocked(mutex, when == nullptr
                                ? pthread_mutex_lock(&mutex)
                                : pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, when));
}

void MutexFile::Unlock() { pthread_mutex_unlock(&_record->mutex); }

bool MutexFile::HasOwner() const { return _record->owner != 0; }

void MutexFile::SetOwner(DWORD threadId) { _record->owner = threadId; }

}  // namespace platform
