/// What stands behind a handle, and the table that finds it.
#pragma once

#include <memory>

#include "platform/posix/api/base.h"
#include "platform/posix/api/errors.h"

namespace platform {

class Thread;

/// A counted object. The waiting part is called by the wait engine only, with the engine's lock
/// held; an object that is no synchronisation object leaves it as it is.
class Object : public std::enable_shared_from_this<Object> {
 public:
  Object() = default;
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  virtual bool IsWaitable() const { return false; }
  /// Readiness: whether a wait of `waiter` could be satisfied now. Changes nothing.
  virtual bool IsSignalled(const Thread& waiter) const;
  /// Consumption, after readiness: takes what the wait takes. True when it was abandoned.
  virtual bool Consume(Thread& waiter);

  /// Called without the engine's lock when the last handle has been closed.
  virtual void OnLastHandleClosed() {}
};

/// Puts one handle to `object` into the table. Handles are multiples of four and never reused while
/// a stale copy could be mistaken for them (a slot's generation is part of the value).
HANDLE InsertHandle(std::shared_ptr<Object> object);

/// Null when the handle is not in the table.
std::shared_ptr<Object> LookupObject(HANDLE handle);

/// Takes the handle out; null when it is not in the table.
std::shared_ptr<Object> RemoveHandle(HANDLE handle);

/// The object of that kind behind the handle, else null with ERROR_INVALID_HANDLE.
template <class Kind>
std::shared_ptr<Kind> Lookup(HANDLE handle) {
  auto object = std::dynamic_pointer_cast<Kind>(LookupObject(handle));
  if (!object) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

}  // namespace platform
