/// Memory for job data and passwords. Depends on nothing of the product.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <utility>

#include "support/secure_wipe.h"

/// Bytes that are wiped before their memory is given back. Move only.
class WipedBuffer {
 public:
  WipedBuffer() = default;
  /// The bytes start undefined. std::bad_alloc when there is no memory for them.
  explicit WipedBuffer(std::size_t sizeBytes)
      : _bytes(sizeBytes == 0 ? nullptr
                              : std::make_unique_for_overwrite<unsigned char[]>(sizeBytes)),
        _sizeBytes(sizeBytes) {}
  WipedBuffer(WipedBuffer&& other) noexcept
      : _bytes(std::move(other._bytes)), _sizeBytes(std::exchange(other._sizeBytes, 0)) {}
  WipedBuffer& operator=(WipedBuffer&& other) noexcept {
    std::swap(_bytes, other._bytes);
    std::swap(_sizeBytes, other._sizeBytes);
    return *this;
  }
  ~WipedBuffer() { Clear(); }

  /// Null when the size is 0.
  unsigned char* Data() { return _bytes.get(); }
  const unsigned char* Data() const { return _bytes.get(); }
  std::size_t SizeBytes() const { return _sizeBytes; }
  std::span<const unsigned char> Bytes() const { return {_bytes.get(), _sizeBytes}; }

  /// Wipes and frees the memory now; afterwards the size is 0.
  void Clear() {
    if (_bytes) SecureWipe(_bytes.get(), _sizeBytes);
    _bytes.reset();
    _sizeBytes = 0;
  }

 private:
  std::unique_ptr<unsigned char[]> _bytes;
  std::size_t _sizeBytes = 0;
};
