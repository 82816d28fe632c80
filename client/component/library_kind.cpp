#include "client/component/library_kind.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "client/server_process.h"
#include "client/text.h"
#include "platform/native_path.h"

namespace Tagwright {
namespace {

// System V ABI, "ELF Header", and Microsoft, "PE Format".
constexpr std::size_t kElfMachineAt = 18;
constexpr std::size_t kPeHeaderAt = 0x3C;
constexpr std::size_t kSignatureBytes = 4;

/// The first bytes of a file, which may be fewer.
class FileStart {
 public:
  explicit FileStart(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("the file cannot be read");
    file.read(_bytes, sizeof _bytes);
    _size = static_cast<std::size_t>(file.gcount());
  }

  bool Has(std::size_t at, const char* text, std::size_t length) const {
    return at + length <= _size && std::memcmp(_bytes + at, text, length) == 0;
  }
  template <class Number>
  Number At(std::size_t at) const {
    Number number = 0;
    if (at + sizeof number <= _size) std::memcpy(&number, _bytes + at, sizeof number);
    return number;
  }

 private:
  char _bytes[4096] = {};
  std::size_t _size = 0;
};

std::string ElfMachine(std::uint16_t number) {
  switch (number) {
    case 3:
      return "32 bits";
    case 62:
      return "x86-64";
    case 183:
      return "ARM64";
    default:
      return "machine " + std::to_string(number);
  }
}

std::string PeMachine(std::uint16_t number) {
  switch (number) {
    case 0x014C:
      return "32 bits";
    case 0x8664:
      return "x86-64";
    case 0xAA64:
      return "ARM64";
    default:
      return "machine " + std::to_string(number);
  }
}

std::string KindOf(const std::filesystem::path& path) {
  const FileStart start(path);
  if (start.Has(0, "\177ELF", 4))
    return "Linux, " + ElfMachine(start.At<std::uint16_t>(kElfMachineAt));
  const std::size_t header = start.At<std::uint32_t>(kPeHeaderAt);
  if (!start.Has(0, "MZ", 2) || !start.Has(header, "PE\0\0", kSignatureBytes)) return kNoLibrary;
  return "Windows, " + PeMachine(start.At<std::uint16_t>(header + kSignatureBytes));
}

}  // namespace

std::string LibraryKind(const std::string& path) {
  return KindOf(std::filesystem::path(ToWide(path)));
}

std::string OwnLibraryKind() {
  return LibraryKind(platform::NativePath(ProgramBesideThis(TEXT("tagwrightctl"))));
}

}  // namespace Tagwright
