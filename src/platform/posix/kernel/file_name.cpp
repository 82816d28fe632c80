#include "platform/posix/kernel/file_name.h"

#include <cstdio>

#include "platform/posix/kernel/text.h"

namespace platform {
namespace {

// The file system's limit is 255 bytes; 17 of them are for the hash of a name that was cut.
constexpr std::size_t kMaxPlainBytes = 200;
constexpr std::size_t kCutBytes = 190;

std::string Escape(const std::string& name) {
  std::string escaped;
  for (const char byte : name) {
    if (byte == '%') {
      escaped += "%25";
    } else if (byte == '/') {
      escaped += "%2f";
    } else if (byte == '.' && escaped.empty()) {
      escaped += "%2e";
    } else {
      escaped += byte;
    }
  }
  return escaped;
}

}  // namespace

std::string FileNameFor(const std::string& name) {
  std::string escaped = Escape(name);
  if (escaped.size() <= kMaxPlainBytes) return escaped;
  return escaped.substr(0, SizeOfWholeCharacters(escaped, kCutBytes)) + '~' + HashText(escaped);
}

std::uint64_t HashName(const std::string& name) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char byte : name) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
  }
  return hash;
}

std::string HashText(const std::string& name) {
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(HashName(name)));
  return digits;
}

}  // namespace platform
