/// The folder of dump files, empty at the start and at the end of a test.
#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "platform/windows_api.h"

class DumpFolder {
 public:
  DumpFolder() { Clear(); }
  ~DumpFolder() { Clear(); }
  DumpFolder(const DumpFolder&) = delete;
  DumpFolder& operator=(const DumpFolder&) = delete;

  /// As reports name it.
  static std::string Path(const std::string& file) { return Folder() + "\\" + file; }

  static std::string Content(const std::string& path) {
    const HANDLE file =
        CreateFileW(std::basic_string<WCHAR>(path.begin(), path.end()).c_str(), GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    std::string content;
    char piece[4096];
    DWORD count = 0;
    while (file != INVALID_HANDLE_VALUE && ReadFile(file, piece, sizeof piece, &count, nullptr) &&
           count > 0) {
      content.append(piece, count);
    }
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    return content;
  }

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

  /// An empty file with that name.
  static void Occupy(const std::string& file) {
    for (std::size_t end = Folder().find('\\', 3); end != std::string::npos;
         end = Folder().find('\\', end + 1)) {
      CreateDirectoryW(Wide(Folder().substr(0, end)).c_str(), nullptr);
    }
    CreateDirectoryW(Wide(Folder()).c_str(), nullptr);
    CloseHandle(CreateFileW(Wide(Path(file)).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0,
                            nullptr));
  }

 private:
  static constexpr int kFiles = 32;  // More than a test writes.

  static std::string Folder() { return "C:\\ProgramData\\Brennick\\Drivers\\Dump"; }
  static std::basic_string<WCHAR> Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
  }
  static void Clear() {
    for (int i = 0; i < kFiles; ++i) {
      const std::string digits = std::to_string(i);
      DeleteFileW(
          Wide(Path("bkcrash_" + std::string(4 - digits.size(), '0') + digits + ".dmp")).c_str());
    }
  }
};
