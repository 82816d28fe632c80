/// Registry values by text paths: a root, a colon, a key path, and the value's name as the last
/// component; '/' and '\' both separate.
///
///   LOCAL_MACHINE:Software\Brennick\Drivers\Debug\dbghelp
///   GLOBAL:Flag
///
/// The root is a number (0 HKEY_CLASSES_ROOT, 1 HKEY_CURRENT_USER, 2 HKEY_LOCAL_MACHINE,
/// 3 HKEY_USERS; text that is no number reads as 0), a root's name (CLASSES_ROOT, CURRENT_USER,
/// LOCAL_MACHINE, USERS) or an alias of a key that is used often (USER, LOCAL, GLOBAL, CONTROL,
/// PRINT, ENUM), in any letter case. An empty value name is the key's default value; a value
/// directly under a root cannot be addressed. Inside names "%%" is a percent sign, "//" a slash,
/// "::" a colon, and a percent sign with two hexadecimal digits the character of that code.
#pragma once

#include "platform/windows_api.h"
#include "support/ostring.h"

/// Made on the stack for a call or two. One object belongs to one thread; different objects may be
/// used at once. Every failure is a return value.
class ORegistry {
 public:
  ORegistry() = default;
  virtual ~ORegistry() = default;
  ORegistry(const ORegistry&) = delete;
  ORegistry& operator=(const ORegistry&) = delete;

  /// Reads the raw bytes of a value of any type. Returns how many there are, or -1 when the path is
  /// invalid or the value cannot be read or is larger than `bufferSize` bytes; `buffer` is
  /// untouched then. With a `bufferSize` of 0 nothing is copied and the result is the value's size.
  int GetValue(const OString& valuePath, void* buffer, int bufferSize);

  /// Writes the 4 bytes at `data` as a REG_DWORD, creating the key when it is missing. Returns 4,
  /// or -1 on failure.
  int SetValue(const OString& valuePath, const void* data);

  /// Reads a UTF-16 text of at most 131070 bytes; `defaultValue` when it cannot be read or holds no
  /// bytes.
  OString GetString(const OString& valuePath, const OString& defaultValue);

  /// Replaces a root's name or an alias at the start of `keyPath` by its number and key.
  virtual void ExpandPath(OString& keyPath);

  /// Opens the key for reading and writing, else for reading alone, else creates it when `create`
  /// is true. Null when all failed; the caller closes the key with RegCloseKey.
  virtual HKEY OpenKey(const OString& keyPath, bool create);

 protected:
  /// What a value path without a root of its own is put behind; empty unless a derived class says
  /// otherwise.
  OString _basePath;
  /// Access rights asked for in addition, with every key.
  DWORD _extraAccess = 0;

 private:
  bool SplitPath(OString& keyPath, OString& valueName);
  void ReplaceRootPrefix(OString& path, const OString& prefix, const OString& replacement);
  bool ParseKeyPath(const OString& keyPath, HKEY& root, OString& subKey);
  static OString DecodeEscapes(const OString& text);
};
