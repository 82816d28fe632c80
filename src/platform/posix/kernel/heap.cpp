/// The C library's heap, entered through a HeapScope. Of its functions these are all that allocate
/// or free; the others (strdup, reallocarray and so on) call one of these.
#include <cerrno>
#include <cstddef>

#include "platform/posix/kernel/no_throw_scope.h"

using platform::HeapScope;

namespace {

/// Reads the size that the heap keeps in front of each block. A wild pointer crashes here, before
/// the heap has taken a lock: such a crash can be thrown like any other of the caller.
void TouchHeader(const void* block) {
  if (block != nullptr) static_cast<void>(static_cast<const volatile std::size_t*>(block)[-1]);
}

}  // namespace

extern "C" {

// The C library's own entries to its heap.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void* __libc_valloc(std::size_t size);
void* __libc_pvalloc(std::size_t size);
void __libc_free(void* block);

// The C library declares these with parameter names of its own.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

void* malloc(std::size_t size) {
  const HeapScope scope;
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  const HeapScope scope;
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  TouchHeader(block);
  const HeapScope scope;
  return __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  const HeapScope scope;
  return __libc_memalign(alignment, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
  const HeapScope scope;
  return __libc_memalign(alignment, size);
}

void* valloc(std::size_t size) {
  const HeapScope scope;
  return __libc_valloc(size);
}

void* pvalloc(std::size_t size) {
  const HeapScope scope;
  return __libc_pvalloc(size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  const HeapScope scope;
  void* const allocated = __libc_memalign(alignment, size);
  if (allocated == nullptr) return ENOMEM;
  *block = allocated;
  return 0;
}

void free(void* block) {
  TouchHeader(block);
  const HeapScope scope;
  __libc_free(block);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)

}  // extern "C"
