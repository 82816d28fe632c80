#include <atomic>
#include <new>

#include "platform/posix/api/synchronization.h"
#include "platform/posix/api/threads.h"
#include "platform/posix/kernel/short_lock.h"

namespace {

struct Section {
  platform::ShortLock lock;
  LONG recursion = 0;           // Guarded by the lock.
  std::atomic<DWORD> owner{0};  // Its own id is there for the owning thread alone.
};
static_assert(sizeof(Section) <= sizeof(CRITICAL_SECTION));

// No KernelScope: a thread that is terminated inside a section, or while it waits for one, leaves
// the section as it is, as on Windows.
Section& SectionOf(LPCRITICAL_SECTION section) { return reinterpret_cast<Section&>(*section); }

}  // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section) { new (section) Section; }

void DeleteCriticalSection(LPCRITICAL_SECTION section) { SectionOf(section).~Section(); }

void EnterCriticalSection(LPCRITICAL_SECTION section) {
  Section& target = SectionOf(section);
  const DWORD self = GetCurrentThreadId();
  if (target.owner.load(std::memory_order_relaxed) != self) {
    target.lock.lock();
    target.owner.store(self, std::memory_order_relaxed);
  }
  ++target.recursion;
}

void LeaveCriticalSection(LPCRITICAL_SECTION section) {
  Section& target = SectionOf(section);
  if (--target.recursion > 0) return;
  target.owner.store(0, std::memory_order_relaxed);
  target.lock.unlock();
}
