/// The folder of dump files, empty at the start and at the end of a test.
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <string>

#include "common/shared_file.h"
#include "common/widen.h"

class DumpFolder {
 public:
  DumpFolder() { Clear(); }
  ~DumpFolder() { Clear(); }
  DumpFolder(const DumpFolder&) = delete;
  DumpFolder& operator=(const DumpFolder&) = delete;

  /// As reports name it.
  static std::string Path(const std::string& file) { return Folder() + "\\" + file; }

  static std::string Content(const std::string& path) { return ReadSharedFile(Widen(path)); }

  /// The streams of a dump by their numbers; none when it is no dump.
  static std::map<std::uint32_t, std::string> Streams(const std::string& dump) {
    std::map<std::uint32_t, std::string> streams;
    if (dump.substr(0, 4) != "MDMP") return streams;
    for (std::uint32_t i = 0; i < Number(dump, 8); ++i) {
      const std::size_t entry = Number(dump, 12) + i * 12;
      streams[Number(dump, entry)] = dump.substr(Number(dump, entry + 8), Number(dump, entry + 4));
    }
    return streams;
  }

  static std::uint32_t Number(const std::string& bytes, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.substr(at, 4).data(), 4);
    return number;
  }

 private:
  static constexpr int kFiles = 32;  // More than a test writes.

  static std::string Folder() { return "C:\\ProgramData\\Brennick\\Drivers\\Dump"; }

  static void Clear() {
    for (int i = 0; i < kFiles; ++i) {
      const std::string digits = std::to_string(i);
      DeleteFileW(
          Widen(Path("bkcrash_" + std::string(4 - digits.size(), '0') + digits + ".dmp")).c_str());
    }
  }
};
