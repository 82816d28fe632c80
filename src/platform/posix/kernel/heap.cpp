/// The C library's heap, entered through a KernelScope: a thread that is terminated in the middle
/// of an allocation would leave the heap's lock held, and every other thread would stop at its next
/// one.
#include <cerrno>
#include <cstddef>

#include "platform/posix/kernel/kernel_scope.h"

extern "C" {

// The C library's own entries to its heap.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

// The C library declares these with parameter names of its own.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

void* malloc(std::size_t size) {
  platform::KernelScope scope;
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  platform::KernelScope scope;
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  platform::KernelScope scope;
  return __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  platform::KernelScope scope;
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  platform::KernelScope scope;
  void* const allocated = __libc_memalign(alignment, size);
  if (allocated == nullptr) return ENOMEM;
  *block = allocated;
  return 0;
}

void free(void* block) {
  platform::KernelScope scope;
  __libc_free(block);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)

}  // extern "C"
