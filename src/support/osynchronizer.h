/// The locks of the system and the scope that holds one.
#pragma once

#include <atomic>
#include <mutex>

#include "platform/windows_api.h"
#include "support/ostring.h"

/// Anything that OAutoLock can hold.
class OSynchronizer {
 public:
  OSynchronizer() = default;
  virtual ~OSynchronizer() = default;
  virtual void Acquire() = 0;
  virtual void Release() = 0;
  OSynchronizer(const OSynchronizer&) = delete;
  OSynchronizer& operator=(const OSynchronizer&) = delete;
};

/// A kernel mutex; one with a name is shared by all processes and grants everyone full access. It
/// is owned by a thread: release it on the thread that acquired it. Any thread may acquire through
/// one object; the first one creates the mutex.
class OMutex : public OSynchronizer {
 public:
  /// Creates nothing yet. An empty name is an unnamed mutex.
  OMutex(const OString& name, DWORD timeoutMs);
  ~OMutex() override;

  /// Creates the mutex at the first call, then waits up to the time-out. The caller goes on in
  /// every case: time-outs, abandoned mutexes and failures are not reported. A failed creation is
  /// tried again by the next call.
  void Acquire() override;
  /// Does nothing when the calling thread does not own the mutex.
  void Release() override;

 private:
  HANDLE CreatedHandle();
  HANDLE Create() const;

  std::mutex _creationLock;
  std::atomic<HANDLE> _handle{nullptr};
  DWORD _timeoutMs;
  OString _name;
};

/// A lock within the process, recursive for its owning thread.
class OCriticalSection final : public OSynchronizer {
 public:
  OCriticalSection();
  ~OCriticalSection() override;
  void Acquire() override { EnterCriticalSection(_section); }
  void Release() override { LeaveCriticalSection(_section); }

 private:
  CRITICAL_SECTION* _section;
};

/// Holds a lock to the end of a scope.
class OAutoLock {
 public:
  enum InitialState : DWORD { kAcquire = 0, kDoNotAcquire = 1 };

  explicit OAutoLock(OSynchronizer& synchronizer, InitialState initialState = kAcquire)
      : _synchronizer(&synchronizer) {
    if (initialState != kAcquire) return;
    _synchronizer->Acquire();
    _locked = true;
  }
  ~OAutoLock() {
    if (_locked) _synchronizer->Release();
  }
  OAutoLock(const OAutoLock&) = delete;
  OAutoLock& operator=(const OAutoLock&) = delete;

 private:
  OSynchronizer* _synchronizer;
  bool _locked = false;
};
