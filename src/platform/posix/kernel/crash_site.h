/// What a thread with a translator keeps ready for its crash: a stack to handle it on, and room for
/// the records, and for the stack as it was.
///
/// The exception that a crash becomes has unwound the stack before anybody writes a dump, so the
/// innermost part of it is copied when the crash happens.
#pragma once

#include <sys/resource.h>

#include <memory>
#include <span>

#include "platform/posix/api/exceptions.h"
#include "platform/posix/kernel/sizes.h"

namespace platform {

/// The processor's calling convention leaves the bytes below the stack pointer to the function that
/// runs (System V ABI for x86-64, "red zone").
constexpr ULONG_PTR kRedZoneBytes = 128;

/// The guard of a thread's stack: a page that nothing may ever touch, and above it the room in
/// which the exception of a stack overflow finds its way.
constexpr std::size_t kStackGuardBytes = 132 * kKiB;

/// The stack of a thread, as it was found when its crash site was made.
struct ThreadStack {
  /// Lowest and one past the highest address; 0 when they are not known.
  ULONG_PTR low = 0;
  ULONG_PTR high = 0;
  /// The size of what lies below the lowest address for the handling of a stack overflow; 0 without
  /// one.
  std::size_t reserveBytes = 0;
  /// How far the stack of the main thread may grow; 0 for any other.
  rlim_t growthLimitBytes = 0;
};

/// Nothing writes to it before the thread's first crash, and until then it takes no memory.
struct CrashSite {
  /// Enough for all the frames that matter; of an overflowing stack only the innermost frames fit.
  static constexpr std::size_t kStackCopyBytes = 512 * kKiB;
  /// The handler runs on it, and the unwinder, and what the translator calls.
  static constexpr std::size_t kAlternateStackBytes = 128 * kKiB;

  EXCEPTION_POINTERS pointers;
  EXCEPTION_RECORD record;
  CONTEXT context;
  /// Where the copied part of the stack begins and how long it is.
  ULONG_PTR copyStart;
  std::size_t copyBytes;
  alignas(16) BYTE stackCopy[kStackCopyBytes];
  alignas(16) BYTE alternateStack[kAlternateStackBytes];
};

struct CrashSiteDeleter {
  void operator()(CrashSite* site) const;
};
using OwnedCrashSite = std::unique_ptr<CrashSite, CrashSiteDeleter>;

/// A site for the calling thread, whose signals go to its alternate stack from now on; null when
/// there is no memory. A page that nothing may touch lies below and above.
OwnedCrashSite PrepareCrashSite();

/// Ends the use of the site, if the calling thread is the one that uses it. False when that thread
/// runs on it.
bool LeaveAlternateStack(const CrashSite& site);

/// Makes the reserve below the calling thread's stack usable, or unusable again. May be called in
/// signal handlers.
void OpenStackReserve();
void CloseStackReserve();

/// The site of the calling thread; null while it has none. May be called in signal handlers.
CrashSite* CurrentCrashSite();
/// Its stack; all 0 without a site. May be called in signal handlers.
const ThreadStack& CurrentStack();

/// The site of the calling thread if the pointers are those of its last crash, else null.
const CrashSite* FindCrashSite(const EXCEPTION_POINTERS* pointers);

/// What an instruction failed to do with an address, as the records of access violations have it.
enum AccessKind : ULONG_PTR { kRead = 0, kWrite = 1, kExecute = 8 };

/// From the registers that a signal handler was given (a ucontext_t); kRead for what was no page
/// fault.
AccessKind AccessOf(const void* signalContext);

/// Fills a context from the registers that a signal handler was given (a ucontext_t).
void CopyRegisters(const void* signalContext, CONTEXT& context);

}  // namespace platform
