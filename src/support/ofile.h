/// Questions about files and folders.
#pragma once

#include "platform/windows_api.h"
#include "support/ostring.h"

class OFile {
 public:
  /// The read-only, hidden, system, archive and temporary bits (a plain folder has none), or
  /// INVALID_FILE_ATTRIBUTES when the path does not exist.
  static DWORD GetAttributes(const OString& path);
  /// Whether the file can be opened for reading.
  static bool Exists(const OString& path);
  /// Creates the folder with any missing parents. True when it is there in the end.
  static bool CreateDirectoryPath(const OString& path);
};
