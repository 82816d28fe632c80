/// What stands behind a handle, and the table that finds it.
#pragma once

#include <atomic>
#include <memory>

#include "platform/posix/api/base.h"
#include "platform/posix/api/errors.h"

namespace platform {

class HandleSlot;
class IoObject;

/// A counted object. What can be waited for derives from Waitable (wait_engine.h).
class Object : public std::enable_shared_from_this<Object> {
 public:
  Object() = default;
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  /// Called without any lock of the table or the engine when the last handle has been closed. The
  /// object itself goes with the last reference, which a blocked call may still hold.
  virtual void OnLastHandleClosed() {}

  /// The object as what ReadFile and WriteFile work on (io_object.h); null for any other kind.
  /// Every request asks twice, and a cast would cost it as much as half a system call.
  virtual IoObject* AsIoObject() { return nullptr; }

 private:
  friend class HandleTable;
  int _handleCount = 0;  // Guarded by the table's lock.
};

/// Puts one more handle to `object` into the table. Handles are multiples of four and never reused
/// while a stale copy could be mistaken for them (a slot's generation is part of the value).
HANDLE InsertHandle(std::shared_ptr<Object> object);

/// Null when the handle is not in the table.
std::shared_ptr<Object> LookupObject(HANDLE handle);

/// The object behind a handle while this lives: found without a lock and without a reference of its
/// own. A handle that is closed meanwhile leaves the table at once, the object when this ends.
class ObjectUse {
 public:
  explicit ObjectUse(HANDLE handle);
  ~ObjectUse();
  ObjectUse(const ObjectUse&) = delete;
  ObjectUse& operator=(const ObjectUse&) = delete;

  /// Null when the handle is not in the table.
  Object* Get() const { return _object; }

 private:
  const HANDLE _handle;
  HandleSlot* _slot;
  Object* _object = nullptr;
};

/// Takes the handle out of the table and calls OnLastHandleClosed if it was the object's last one;
/// null when the handle is not in the table.
std::shared_ptr<Object> RemoveHandle(HANDLE handle);

/// The object of that kind behind the handle, else null with the last error ERROR_INVALID_HANDLE:
/// only for the exported functions, all of which fail alike.
template <class Kind>
std::shared_ptr<Kind> Lookup(HANDLE handle) {
  auto object = std::dynamic_pointer_cast<Kind>(LookupObject(handle));
  if (!object) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

}  // namespace platform
