/// The shared pointer that owns the process-wide log.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace StdBrennick {

/// What all pointers to one object share. The uses together hold one weak reference.
class _Ref_count_base {
 public:
  virtual void Destroy() = 0;
  virtual void DeleteThis() = 0;
  virtual ~_Ref_count_base() = default;
  /// There are no custom deleters.
  virtual void* GetDeleter() const { return nullptr; }

  void AddUse() { _uses.fetch_add(1, std::memory_order_relaxed); }
  void ReleaseUse() {
    if (_uses.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    Destroy();
    ReleaseWeak();
  }
  void ReleaseWeak() {
    if (_weaks.fetch_sub(1, std::memory_order_acq_rel) == 1) DeleteThis();
  }

 private:
  std::atomic<std::uint32_t> _uses{0};
  std::atomic<std::uint32_t> _weaks{1};
};

/// Owns an object made with new.
template <class T>
class _Ref_count : public _Ref_count_base {
 public:
  explicit _Ref_count(T* object) : _object(object) {}
  void Destroy() override { delete _object; }
  void DeleteThis() override { delete this; }

 private:
  T* _object;
};

/// Counted ownership with the semantics of the standard shared pointer. Different threads may copy
/// and release pointers to one object; one pointer belongs to one thread at a time.
template <class T>
class shared_ptr {
 public:
  shared_ptr() noexcept = default;
  /// Takes `object`, made with new. When its count cannot be allocated, the object is deleted and
  /// std::bad_alloc passes on.
  explicit shared_ptr(T* object) : _object(object) {
    try {
      _count = new _Ref_count<T>(object);
    } catch (...) {
      delete object;
      throw;
    }
    _count->AddUse();
  }
  shared_ptr(const shared_ptr& other) noexcept : _object(other._object), _count(other._count) {
    if (_count != nullptr) _count->AddUse();
  }
  shared_ptr(shared_ptr&& other) noexcept { swap(other); }
  ~shared_ptr() {
    if (_count != nullptr) _count->ReleaseUse();
  }
  shared_ptr& operator=(shared_ptr other) noexcept {
    swap(other);
    return *this;
  }

  void reset() noexcept { shared_ptr().swap(*this); }
  void reset(T* object) { shared_ptr(object).swap(*this); }
  void swap(shared_ptr& other) noexcept {
    std::swap(_object, other._object);
    std::swap(_count, other._count);
  }

  T* get() const noexcept { return _object; }
  T& operator*() const noexcept { return *_object; }
  T* operator->() const noexcept { return _object; }
  explicit operator bool() const noexcept { return _object != nullptr; }

 private:
  T* _object = nullptr;
  _Ref_count_base* _count = nullptr;
};

}  // namespace StdBrennick
