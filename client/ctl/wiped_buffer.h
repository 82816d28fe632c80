/// Bytes that may hold job data: wiped before their memory is given back.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "support/secure_wipe.h"

namespace Ctl {

class WipedBuffer {
 public:
  WipedBuffer() = default;
  explicit WipedBuffer(std::size_t size)
      : _bytes(std::make_unique<std::uint8_t[]>(size)), _size(size) {}
  WipedBuffer(WipedBuffer&& other) noexcept
      : _bytes(std::move(other._bytes)), _size(std::exchange(other._size, 0)) {}
  WipedBuffer& operator=(WipedBuffer&& other) noexcept {
    std::swap(_bytes, other._bytes);
    std::swap(_size, other._size);
    return *this;
  }
  ~WipedBuffer() {
    if (_bytes) SecureWipe(_bytes.get(), _size);
  }

  std::uint8_t* Data() { return _bytes.get(); }
  std::span<const std::uint8_t> Bytes() const { return {_bytes.get(), _size}; }

 private:
  std::unique_ptr<std::uint8_t[]> _bytes;
  std::size_t _size = 0;
};

}  // namespace Ctl
