#include "support/secure_wipe.h"

#include <cstring>

void SecureWipe(void* memory, std::size_t sizeBytes) {
  if (sizeBytes == 0) return;
  std::memset(memory, 0, sizeBytes);
  // The compiler must assume that somebody reads the zeros.
  asm volatile("" : : "r"(memory) : "memory");
}
