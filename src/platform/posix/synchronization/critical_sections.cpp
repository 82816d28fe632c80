#include <pthread.h>

#include "platform/posix/api/synchronization.h"

namespace {

// No KernelScope: a thread that is terminated inside a section, or while it waits for one, leaves
// the section as it is, as on Windows.
pthread_mutex_t* MutexOf(LPCRITICAL_SECTION section) {
  return static_cast<pthread_mutex_t*>(section->DebugInfo);
}

}  // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  auto* const mutex = new pthread_mutex_t;
  pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  section->DebugInfo = mutex;
}

void DeleteCriticalSection(LPCRITICAL_SECTION section) {
  pthread_mutex_destroy(MutexOf(section));
  delete MutexOf(section);
  section->DebugInfo = nullptr;
}

void EnterCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_lock(MutexOf(section)); }

void LeaveCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_unlock(MutexOf(section)); }
