/// Output of a process that is about to end in a crash. The objects are made while all is well;
/// after that nothing here takes memory from the heap or waits for another thread of the process.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "platform/windows_api.h"

namespace platform {

/// The event log and a text file. May be used by any thread; what cannot be written is lost.
class LastOutput {
 public:
  /// The event source is one that RegisterEventSourceW takes; the file need not exist yet, its
  /// folder must when it is written.
  LastOutput(LPCWSTR eventSource, LPCWSTR textFile);
  ~LastOutput();
  LastOutput(const LastOutput&) = delete;
  LastOutput& operator=(const LastOutput&) = delete;

  /// Reports an error of category 0 with one string, which is ASCII (other bytes become "?").
  void ReportError(DWORD eventId, std::string_view text, const void* data, DWORD dataBytes) const;
  /// Appends text as the C runtime's text mode does ("\n" becomes CR LF), in one write.
  void AppendToFile(std::string_view text) const;

 private:
  struct Names;
  const std::unique_ptr<const Names> _names;
};

/// The folder of dump files.
class LastDumpFolder {
 public:
  explicit LastDumpFolder(LPCWSTR path);
  ~LastDumpFolder();
  LastDumpFolder(const LastDumpFolder&) = delete;
  LastDumpFolder& operator=(const LastDumpFolder&) = delete;

  /// Creates the folder and its parents where they are missing.
  void Create() const;
  enum class Result { kWritten, kExists, kFailed };
  /// Writes a dump of the process into a new file (an ASCII name without folder).
  Result Write(const char* fileName, MINIDUMP_TYPE type, EXCEPTION_POINTERS* pointers) const;

 private:
  struct Names;
  const std::unique_ptr<const Names> _names;
};

}  // namespace platform
