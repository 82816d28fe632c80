/// Erasing memory that held passwords or job data.
#pragma once

#include <cstddef>

/// Overwrites `sizeBytes` bytes with zeros. Unlike a memset before a free, it is never optimised
/// away.
void SecureWipe(void* memory, std::size_t sizeBytes);
