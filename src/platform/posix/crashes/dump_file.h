/// A dump file being written: pieces one after another, through raw system calls.
#pragma once

#include <cstddef>

#include "platform/posix/crashes/minidump_format.h"

namespace platform {

class DumpFile {
 public:
  /// `file` stays the caller's. Writing begins at its start.
  explicit DumpFile(int file) : _file(file) {}

  /// Adds bytes at the end. What cannot be read any more is left out: the size says how much there
  /// is. Nothing is added after a failure of the file.
  minidump::Location Append(const void* bytes, std::size_t sizeBytes);
  template <class Record>
  minidump::Location AppendRecord(const Record& record) {
    return Append(&record, sizeof record);
  }
  /// A counted text in UTF-16; bytes of `text` beyond ASCII become the character of their value.
  DWORD AppendText(const char* text);
  /// A copy of a file of the system.
  minidump::Location AppendFile(const char* path);

  /// Leaves room that OverwriteAt fills later; the offset.
  DWORD Reserve(std::size_t sizeBytes);
  void OverwriteAt(DWORD offset, const void* bytes, std::size_t sizeBytes);

  bool HasFailed() const { return _hasFailed; }

 private:
  void Align();

  int _file;
  DWORD _end = 0;
  bool _hasFailed = false;
};

}  // namespace platform
