/// Erasing memory that held passwords or job data. Depends on nothing of the product.
#pragma once

#include <cstddef>
#include <cstring>

/// Overwrites `sizeBytes` bytes with zeros. Unlike a memset before a free, it is never optimised
/// away.
inline void SecureWipe(void* memory, std::size_t sizeBytes) {
  if (sizeBytes == 0) return;
  std::memset(memory, 0, sizeBytes);
  // The compiler must assume that somebody reads the zeros.
  asm volatile("" : : "r"(memory) : "memory");
}
